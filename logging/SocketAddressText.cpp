#include "logging/SocketAddressText.h"
