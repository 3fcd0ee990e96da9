// builder_shape.h - what stands in a piece of pattern text.
#ifndef QXUT_SRC_REGEXP_BUILDER_SHAPE_H
#define QXUT_SRC_REGEXP_BUILDER_SHAPE_H

#include <cstddef>

#include <qxut/regexp/builder.hpp>

namespace qxut::regexp {

struct PieceShape {
    RE_Builder_Space::RE_Builder::Shape shape;
    size_t code_length;  // units of the escape in whose digits it ends, which others would continue
};

// Reads UTF-16. Only what is surely one atom is called one: anything else may stand in a group.
PieceShape shape_of(const char16_t* text, size_t length) noexcept;

}  // namespace qxut::regexp

#endif
