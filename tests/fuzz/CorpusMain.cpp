// Runs a fuzz target over the files of the folders named on the command line, without a fuzzer.
#include <QDir>
#include <QFile>
#include <QString>

#include "tests/fuzz/Fuzz.h"

namespace {

void Run(const QByteArray& input) {
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.constData()),
                         static_cast<std::size_t>(input.size()));
}

}  // namespace

int main(int argc, char* argv[]) {
  int count = 0;
  for (int i = 1; i < argc; ++i) {
    const QDir folder(QString::fromLocal8Bit(argv[i]));
    for (const QString& name : folder.entryList(QDir::Files, QDir::Name)) {
      QFile file(folder.filePath(name));
      if (!file.open(QIODevice::ReadOnly)) return 2;
      const QByteArray seed = file.readAll();
      // The seed, each beginning of it, and it with each byte changed.
      Run(seed);
      for (qsizetype at = 0; at < seed.size(); ++at) {
        Run(seed.left(at));
        QByteArray changed = seed;
        changed[at] = static_cast<char>(changed[at] ^ 0x15);
        Run(changed);
      }
      ++count;
    }
  }
  std::printf("%d seeds\n", count);
  // A folder without seeds would test nothing.
  return count > 0 ? 0 : 1;
}
