#include "platform/CodePage.h"
