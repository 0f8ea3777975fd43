#include "store/GUISink.h"
