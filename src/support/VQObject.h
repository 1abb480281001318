// VQObject: root class of the support library's classes.
#pragma once

namespace QLT_SPACE {

class VQObject {
  public:
    virtual ~VQObject() = default;

    /// @return the object's run-time type name, in the compiler's own notation; static
    virtual const char* toString() const;

  protected:
    VQObject() = default;
    VQObject(const VQObject&) = default;
    VQObject(VQObject&&) = default;
    VQObject& operator=(const VQObject&) = default;
    VQObject& operator=(VQObject&&) = default;
};

}  // namespace QLT_SPACE
