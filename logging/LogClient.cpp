#include "logging/LogClient.h"
