// ShapeProbe: the loop over the text that finds where a unit of the ShapeTable may have its pair.
#pragma once

#include <cstdint>

#include "scan/index/AnchorProbe.h"
#include "store/index/ShapeTable.h"
#include "support/VectorUnit.h"

namespace STREAMENGINE_SPACE {

/// Sets the marks of pairs in whole blocks.
/// @param text    the first block; ByteClasses::kWidth bytes after the last one have to be readable
/// @param blocks  how many there are
void probeShapes(const ShapeTable& shapes, QLT_SPACE::VectorUnit unit, const uint8_t* text,
                 uint32_t blocks, ProbeMarks* marks);

}  // namespace STREAMENGINE_SPACE
