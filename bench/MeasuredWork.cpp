#include "MeasuredWork.h"

void measuredWork(const std::function<void()>& work) {
    work();
}
