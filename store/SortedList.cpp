#include "store/SortedList.h"
