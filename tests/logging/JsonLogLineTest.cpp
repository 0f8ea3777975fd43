#include "logging/JsonLogWriter.h"
