#include "logging/LogLevel.h"
