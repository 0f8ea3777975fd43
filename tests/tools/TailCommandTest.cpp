#include "tools/TailCommand.h"
