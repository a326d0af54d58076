#pragma once

/// Marks what libQzLog2_64.so exports. Everything else is hidden, so a name without this
/// mark may change from one version to the next without breaking a linked program.
#define QZLOG_API __attribute__((visibility("default")))

#if __cplusplus < 202002L
#error "QzLog needs C++20: -std=c++20, or target_link_libraries(... QzLog::QzLog), which asks for it"
#endif
