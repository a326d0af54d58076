#include "filesystem/DirectoryWalk.h"

#include "filesystem/Directories.h"
#include "filesystem/Failures.h"
#include "filesystem/FileChanges.h"
#include "filesystem/PathComponents.h"
#include "os/FilesDirectories.h"

#include <memory>

namespace QzFileSystem
{
    using namespace QzBase::Literals;

    namespace
    {
        using StringCollectionPtr = std::unique_ptr<QzDataType::StringCollection>;

        /// Whether a name matches, where "*" stands for any text and "?" for one code unit. If a piece after a
        /// "*" does not match, only the last "*" can still take more, so the time is at most in proportion to
        /// the product of both lengths.
        bool MatchesPattern(WideView name, WideView pattern)
        {
            std::size_t inName = 0;
            std::size_t inPattern = 0;
            std::size_t star = WideView::npos;
            std::size_t starEnd = 0;
            while (inName < name.size())
            {
                if (inPattern < pattern.size() && pattern[inPattern] == '*')
                {
                    star = inPattern++;
                    starEnd = inName;
                }
                else if (inPattern < pattern.size() &&
                         (pattern[inPattern] == '?' || pattern[inPattern] == name[inName]))
                {
                    ++inPattern;
                    ++inName;
                }
                else if (star != WideView::npos)
                {
                    inPattern = star + 1;
                    inName = ++starEnd;
                }
                else
                {
                    return false;
                }
            }
            while (inPattern < pattern.size() && pattern[inPattern] == '*')
                ++inPattern;
            return inPattern == pattern.size();
        }

        [[noreturn]] void ThrowNotFound(QzOs::Error error)
        {
            ThrowCallFailure(error, "Unable to find file");
        }

        /// The directory that the system is to list, "." for a bare pattern and "\" for one below the root.
        QzBase::WideString GetListedDirectory(WideView pattern, std::size_t separator)
        {
            if (separator == WideView::npos)
                return u"."_w;
            return QzBase::WideString(pattern.substr(0, separator == 0 ? 1 : separator));
        }

        StringCollectionPtr FindFiles(unsigned short const* pattern, QzOs::Links links)
        {
            StringCollectionPtr found(QzDataType::CreateStringCollection());
            WideView const text(pattern);
            constexpr unsigned short kSeparators[] = {'\\', '/'};
            std::size_t const separator = text.find_last_of(kSeparators, WideView::npos, 2);
            WideView const namePattern = text.substr(separator + 1);

            QzOs::DirectoryListing listing;
            QzOs::Error error = listing.Open(GetListedDirectory(text, separator).c_str(), links);
            if (error != 0)
                ThrowNotFound(error);

            QzBase::ReturnWString directory = GetDirectoryName(pattern);
            // What lies in the root is named from the root, and not from the current directory.
            if (directory.size() == 0)
                directory = u"\\"_w;
            QzOs::PathText name;
            while ((error = listing.Read(name)) == 0)
            {
                if (MatchesPattern(name, namePattern))
                    found->Append(CombinePaths(directory.c_str(), name.c_str()).c_str());
            }
            if (error != QzOs::kNoMoreFiles)
                ThrowNotFound(error);
            return found;
        }

        bool IsRealDirectory(unsigned short const* path)
        {
            return QzOs::GetFileKind(path, QzOs::Links::Keep) == QzOs::FileKind::Directory;
        }

        void RemoveContent(unsigned short const* path, QzBase::Message* err)
        {
            StringCollectionPtr const items = FindFiles(CombinePaths(path, u"*"_w).c_str(), QzOs::Links::Keep);
            for (unsigned int i = 0; i < items->GetCount(); ++i)
            {
                unsigned short const* const item = items->GetItem(i);
                if (IsRealDirectory(item))
                    RemoveDirectoryTree(item, err);
                else
                    DeleteFile(item, err);
            }
        }
    }

    QzDataType::StringCollection* FindFiles(unsigned short const* pattern)
    {
        return FindFiles(pattern, QzOs::Links::Follow).release();
    }

    bool RemoveDirectoryTree(unsigned short const* path, QzBase::Message* err)
    {
        try
        {
            // The pattern for the content of the empty path would be that of the current directory.
            if (*path)
                RemoveContent(path, err);
            return RemoveDirectory(path, err);
        }
        catch (QzBase::Message& failure)
        {
            failure.WrapBy(QzBase::MESSAGE_DOMAIN_SERVER, kFailureID, "Failed to delete directory '%1'.") << path;
            Report(err, failure);
            return false;
        }
    }
}
