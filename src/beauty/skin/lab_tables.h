#ifndef QX_BEAUTY_SKIN_LAB_TABLES_H
#define QX_BEAUTY_SKIN_LAB_TABLES_H

#include <cstdint>

#include "base/buffer.h"
#include "base/image_view.h"
#include "base/status.h"

namespace qx {

// Tables for a coarse CIE L*a*b* of 8-bit pixels, with a = 140 and b = 100 for grey, and the weight of a mask value.
// Absent until they are built.
struct LabTables {
  ByteBuffer lTable;          // by Y
  ByteBuffer aTable;          // by X * 256 + Y
  ByteBuffer bTable;          // by Y * 256 + Z
  Buffer<double> levelTable;  // by mask value: the value itself

  bool HasColours() const { return lTable && aTable && bTable; }
};

// Builds the three colour tables, unless they are all there. kOk, or kMemoryShort; none is held then.
Status BuildLabTables(LabTables* tables);

// kOk or kMemoryShort.
Status BuildLevelTable(LabTables* tables);

// Converts every second pixel of every second row of an image of three channels: lab takes (width / 2) * (height / 2)
// pixels of L, a, b. Black becomes 0, 0, 0. The colour tables are there.
void ConvertHalfLab(const LabTables& tables, const ImageView& image, uint8_t* lab);

}  // namespace qx

#endif  // QX_BEAUTY_SKIN_LAB_TABLES_H
