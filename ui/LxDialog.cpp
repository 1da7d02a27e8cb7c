#include "ui/LxDialog.h"
