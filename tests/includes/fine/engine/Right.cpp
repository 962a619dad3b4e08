#include <QString>

#include "base/Failure.h"
#include "engine/General.h"
