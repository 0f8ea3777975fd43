#include "logging/TimestampText.h"
