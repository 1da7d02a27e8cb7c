#include "ui/LxComboBox.h"
