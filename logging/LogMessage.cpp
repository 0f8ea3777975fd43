#include "logging/LogMessage.h"
