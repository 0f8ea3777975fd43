#include "logging/LogMessageSink.h"
