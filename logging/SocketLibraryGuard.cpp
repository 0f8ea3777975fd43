#include "logging/SocketLibraryGuard.h"
