#include "ui/LxApp.h"
