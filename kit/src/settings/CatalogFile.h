#pragma once

#include "settings/Faults.h"

#include <QzBase/CountedPtr.h>
#include <QzLog/MessageCatalog.h>

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace QzLogKit
{
    /// What a catalog file says.
    struct CatalogTexts
    {
        std::optional<unsigned short> mDomain;
        /// By message ID, then by language; no message is without a text.
        std::map<unsigned int, std::map<unsigned short, std::string>> mTexts;

        bool operator==(CatalogTexts const&) const = default;
    };

    /// \param name  what faults call the file.
    CatalogTexts ParseCatalog(std::string const& name, std::string text, Faults& faults);

    /// The catalog of those texts. A message that it does not have gets a text that shows its values.
    QzBase::ReturnPtrI<QzLog::MessageCatalog> CreateCatalog(CatalogTexts const& texts);

    /// Whether a catalog comes from CreateCatalog.
    bool IsOwnCatalog(QzLog::MessageCatalog* catalog);

    /// Makes the texts known for structured messages, if the file names a domain.
    void RegisterTexts(CatalogTexts const& texts);
}
