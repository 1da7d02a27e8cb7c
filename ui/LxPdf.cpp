#include "ui/LxPdf.h"
