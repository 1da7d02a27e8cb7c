#include "ui/LxLabel.h"
