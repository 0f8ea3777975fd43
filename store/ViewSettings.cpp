#include "store/ViewSettings.h"
