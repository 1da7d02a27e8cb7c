#include "ui/LxWindow.h"
