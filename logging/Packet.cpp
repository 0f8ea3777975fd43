#include "logging/Packet.h"
