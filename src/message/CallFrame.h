#pragma once

/// Precedes the definition of each function on the log path, from the front end to
/// Destination_Impl::FormatMultiLineMessageText. A call stack in a log leaves out a fixed number of frames, the
/// library's own, so that it begins at the caller of the library. That number must not depend on the optimiser:
/// such a function always has exactly one frame. It is never inlined, merged with an equal function or split, and
/// its frame exists until its callees have returned. It calls the next function of the path itself, without a helper.
///
/// The path is six functions long:
///     front end, Router, Logger, Dispatcher, WriteMessage, FormatMultiLineMessageText
/// A structured message enters at the Router and passes both forms of WriteMessage.
#if defined(__clang__)
#define QZLOG_CALL_FRAME __attribute__((noinline, disable_tail_calls))
#else
#define QZLOG_CALL_FRAME __attribute__((noinline, noclone, no_icf, optimize("no-optimize-sibling-calls")))
#endif
