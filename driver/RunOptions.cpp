#include "driver/RunOptions.h"

SRunOptions RunOptions;
