#include "logging/ConnectionInfo.h"
