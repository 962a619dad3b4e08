#include "ui/frmMain.h"
