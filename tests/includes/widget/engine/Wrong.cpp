#include <QtWidgets/QPushButton>
