#include "logging/DecodedMessage.h"
