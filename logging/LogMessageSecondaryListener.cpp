#include "logging/LogMessageSecondaryListener.h"
