#include "logging/LogMessageContainer.h"
