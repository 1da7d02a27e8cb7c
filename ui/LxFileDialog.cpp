#include "ui/LxFileDialog.h"
