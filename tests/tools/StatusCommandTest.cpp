#include "tools/StatusCommand.h"
