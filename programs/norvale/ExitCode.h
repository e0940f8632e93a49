#pragma once

#include "common/ExitCode.h"
