#include "platform/ThreadPriority.h"
