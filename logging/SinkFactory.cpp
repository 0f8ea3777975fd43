#include "logging/SinkFactory.h"
