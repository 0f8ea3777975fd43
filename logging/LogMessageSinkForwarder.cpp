#include "logging/LogMessageSinkForwarder.h"
