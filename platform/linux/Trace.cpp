#include "platform/Trace.h"
