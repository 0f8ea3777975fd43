#include "store/MessageFilter.h"
