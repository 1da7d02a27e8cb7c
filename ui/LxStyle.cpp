#include "ui/LxStyle.h"
