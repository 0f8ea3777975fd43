#include "tools/ConfigCommand.h"
