#include "logging/LogMessageListener.h"
