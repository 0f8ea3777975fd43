#include "logging/LogMessageSinkFormatter.h"
