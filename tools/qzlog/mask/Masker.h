#pragma once

#include "mask/SecretFinder.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace QzLogTool
{
    /// Replaces secrets of several kinds, and counts them by kind.
    class Masker
    {
    public:
        /// \param mask  replaces each value, except for what the library masks by itself.
        explicit Masker(std::string mask) : mMask(std::move(mask)) {}

        /// The library's masks: of an attribute, and of passwords in JSON bodies.
        void AddAttribute(std::string const& name);
        void AddHTTP();

        /// \param kind  names it in the report.
        void Add(std::string const& kind, std::unique_ptr<SecretFinder> pFinder);

        bool IsEmpty() const { return mMasks.empty(); }

        /// A copy with all of it replaced.
        std::string Mask(std::string text);

        /// How many values were replaced so far, in all and of each kind: "3 values were replaced (--key 2, --http 1)".
        std::string GetReport() const;

    private:
        struct OneMask
        {
            std::string mKind;
            std::string mAttribute;
            std::unique_ptr<SecretFinder> mpFinder;
            std::uint64_t mCount = 0;
        };

        std::string ReplaceFound(OneMask& mask, std::string const& text) const;
        std::string ReplaceByLibrary(OneMask& mask, std::string const& text) const;

        std::string const mMask;
        std::vector<OneMask> mMasks;
    };
}
