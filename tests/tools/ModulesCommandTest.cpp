#include "tools/ModulesCommand.h"
