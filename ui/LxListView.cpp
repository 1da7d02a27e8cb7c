#include "ui/LxListView.h"
