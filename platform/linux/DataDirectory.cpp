#include "platform/DataDirectory.h"
