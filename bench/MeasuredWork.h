#pragma once

#include <functional>

/// Runs work(). Callgrind counts the instructions that run inside this function, and finds it by
/// its name. It has a file of its own, so that no compiler copies it into its callers.
extern "C" void measuredWork(const std::function<void()>& work);
