#include "store/LogField.h"
