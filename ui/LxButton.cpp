#include "ui/LxButton.h"
