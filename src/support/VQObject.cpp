#include "support/VQObject.h"

#include <typeinfo>

namespace QLT_SPACE {

const char* VQObject::toString() const {
    return typeid(*this).name();
}

}  // namespace QLT_SPACE
