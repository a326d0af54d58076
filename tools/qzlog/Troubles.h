#pragma once

#include "Trouble.h"

#include <cstdio>

namespace QzLogTool
{
    /// Troubles with one log among several: reported at once, and kept for the exit code, while the others go on.
    class Troubles
    {
    public:
        void Report(Trouble const& trouble)
        {
            std::fprintf(stderr, "qzlog: %s\n", trouble.what());
            mHasAny = true;
        }

        bool HasAny() const { return mHasAny; }

    private:
        bool mHasAny = false;
    };
}
