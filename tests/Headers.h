#pragma once

// What most tests include, precompiled.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <vector>

#ifdef _WIN32
#include <windows.h>

#include <commctrl.h>
#endif
