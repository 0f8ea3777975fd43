#include "platform/ServiceControl.h"
