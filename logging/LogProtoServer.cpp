#include "logging/LogProtoServer.h"
