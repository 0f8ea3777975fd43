#include "tests/tools/ToolRun.h"
