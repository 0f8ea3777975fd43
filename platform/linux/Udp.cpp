#include "platform/Udp.h"
