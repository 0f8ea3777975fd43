#include "view/LogTableView.h"
