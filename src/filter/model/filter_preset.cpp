#include "filter/model/filter_preset.h"
