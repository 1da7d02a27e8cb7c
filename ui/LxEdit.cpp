#include "ui/LxEdit.h"
