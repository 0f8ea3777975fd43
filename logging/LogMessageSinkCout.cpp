#include "logging/LogMessageSinkCout.h"
