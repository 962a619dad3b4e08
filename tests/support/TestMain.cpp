#include <QCoreApplication>

#include <gmock/gmock.h>

// A test program that needs another application object, such as one with windows, has its own main.
__attribute__((weak)) int main(int argc, char* argv[]) {
  ::testing::InitGoogleMock(&argc, argv);
  const QCoreApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
