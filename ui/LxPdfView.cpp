#include "ui/LxPdfView.h"
