#pragma once

#include "common/Terminal.h"
