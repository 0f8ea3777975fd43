#include "store/LogContainer.h"
