#include "store/LogTableModel.h"
