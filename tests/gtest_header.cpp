// Compiled for its precompiled header only.
#include <gtest/gtest.h>
