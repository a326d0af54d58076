#pragma once

/// Stands in front of the definition of each function on the road of a message, from the front end to
/// Destination_Impl::FormatMultiLineMessageText. A call stack in a log leaves out a fixed number of frames, the
/// library's own, so that it begins at the caller of the library. That number must not depend on the optimiser:
/// such a function always has one frame of its own, is never inlined, folded into an equal one or split, and its
/// frame stands until what it called has returned. Its callees on the road are called by itself, not by a helper.
///
/// The road is six functions long:
///     front end, Router, Logger, Dispatcher, WriteMessage, FormatMultiLineMessageText
/// A structured message enters at the Router and passes both forms of WriteMessage.
#if defined(__clang__)
#define QZLOG_CALL_FRAME __attribute__((noinline, disable_tail_calls))
#else
#define QZLOG_CALL_FRAME __attribute__((noinline, noclone, no_icf, optimize("no-optimize-sibling-calls")))
#endif
