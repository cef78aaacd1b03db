#include "display/gamma_table.h"
