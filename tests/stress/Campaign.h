#pragma once

#include "Run.h"
#include "Writer.h"

/// Makes a log fail in every way that there is, one after the other, with strict and with basic recovery, again until
/// the time is over, and prints what has become of the messages. Returns whether all was right.
bool RunCampaigns(RunOptions const& options, WriterSettings const& settings, unsigned int minutes);
