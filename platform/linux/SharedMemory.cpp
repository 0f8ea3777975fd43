#include "platform/SharedMemory.h"
