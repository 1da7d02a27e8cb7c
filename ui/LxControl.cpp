#include "ui/LxControl.h"
