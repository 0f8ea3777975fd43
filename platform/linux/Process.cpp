#include "platform/Process.h"
