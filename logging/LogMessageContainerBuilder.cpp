#include "logging/LogMessageContainerBuilder.h"
