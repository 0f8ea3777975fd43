#include "logging/LogMessageSinkTrace.h"
