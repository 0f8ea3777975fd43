#include "logging/LogMessageSinkCerr.h"
