#pragma once

#include "Writer.h"

// Programs that do what is hard for a library within them. Each is the work of one process, beside RunWriter.

/// Logging threads fork; their children log, fork, and end the module.
int RunForks(WriterSettings const& settings, unsigned int process, Ledger& ledger);

/// The same without the standard descriptors, while the program uses their numbers for other things.
int RunClosedDescriptors(WriterSettings const& settings, unsigned int process, Ledger& ledger);

/// The same with fork handlers of the program that log, in the midst of the library's and outside them.
int RunForkHandlers(WriterSettings const& settings, unsigned int process, Ledger& ledger);

/// At full speed, while other programs are started that outlive this one.
int RunExec(WriterSettings const& settings, unsigned int process, Ledger& ledger);

/// Threads start and end, and log until the last phases of their end.
int RunShortThreads(WriterSettings const& settings, unsigned int process, Ledger& ledger);

/// The module ends and starts, as each thread has its own part in it.
int RunRestarts(WriterSettings const& settings, unsigned int process, Ledger& ledger);

/// Logs in exit handlers and destructors of static objects, also after the module.
int RunExit(WriterSettings const& settings, unsigned int process, Ledger& ledger);
