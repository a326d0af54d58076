#pragma once

/// Marks what libQzLogKit.so exports. Everything else is hidden, as in the library itself (QzBase/Export.h).
#define QZLOGKIT_API __attribute__((visibility("default")))
