#pragma once

#include <functional>

/// Runs work(). Instructions are counted below this function, which is found by its name: it stands
/// in a file of its own, so that no compiler makes copies of it under other names.
extern "C" void measuredWork(const std::function<void()>& work);
