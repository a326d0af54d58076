#include "filesystem/FileChanges.h"

#include "filesystem/Directories.h"
#include "filesystem/Failures.h"
#include "os/FilesByPath.h"

#include <QzBase/System.h>

#include <exception>

namespace QzFileSystem
{
    namespace
    {
        constexpr char const* kMoveFailure = "Failed to move file '%1' to '%2'.";
        constexpr char const* kDeleteFailure = "Failed to delete file '%1'.";

        QzBase::WideString MakeNameForDeletion()
        {
            QzBase::GUID guid;
            QzBase::CreateGUID(guid);
            QzBase::WideString name(GetTemporaryDirectory().c_str());
            return name += guid.ToWString().c_str();
        }

        bool MoveAwayAndDelete(unsigned short const* path, QzBase::Message* err)
        {
            QzBase::WideString name = MakeNameForDeletion();
            QzOs::Error error = QzOs::MoveForDeletion(path, name.c_str());
            if (error != 0)
            {
                if (error != QzOs::kDeletedInPlaceOnly && err)
                    Report(err, MakeFailure(error, kMoveFailure, path, name.c_str()));
                name = path;
            }

            error = QzOs::DeleteFile(name.c_str());
            if (error != 0 && err)
                Report(err, MakeFailure(error, kDeleteFailure, name.c_str()));
            return error == 0;
        }
    }

    void MoveFile(unsigned short const* from, unsigned short const* to)
    {
        QzOs::Error const error = QzOs::MoveFile(from, to);
        if (error != 0)
            throw MakeFailure(error, kMoveFailure, from, to);
    }

    bool MoveFileToFreeName(unsigned short const* from, unsigned short const* to)
    {
        QzOs::Error error = QzOs::MoveFileToFreeName(from, to);
        if (error == QzOs::kErrorExists && QzOs::GetFileKind(to, QzOs::Links::Keep) == QzOs::FileKind::Directory)
            error = QzOs::MoveFile(from, to); // for its failure
        if (error == QzOs::kErrorExists || error == QzOs::kErrorMissing)
            return false;
        if (error != 0)
            throw MakeFailure(error, kMoveFailure, from, to);
        return true;
    }

    void DeleteFileInPlace(unsigned short const* path)
    {
        QzOs::Error const error = QzOs::DeleteFile(path);
        if (error != 0 && error != QzOs::kErrorMissing)
            throw MakeFailure(error, kDeleteFailure, path);
    }

    bool DeleteFile(unsigned short const* path, QzBase::Message* err)
    {
        try
        {
            return MoveAwayAndDelete(path, err);
        }
        catch (QzBase::Message& failure)
        {
            failure.WrapBy(QzBase::MESSAGE_DOMAIN_SERVER, kFailureID, kDeleteFailure) << path;
            Report(err, failure);
        }
        catch (std::exception const&)
        {
            // Without memory there is nothing to report with either.
        }
        return false;
    }

    QzBase::ReturnWString CreateTemporaryFile(unsigned short const* prefix)
    {
        QzBase::WideString beginning(GetTemporaryDirectory().c_str());
        if (beginning.empty())
            return QzBase::ReturnWString();
        beginning += prefix;
        QzOs::PathText path;
        QzOs::Error const error = QzOs::CreateUniqueFile(beginning.c_str(), path);
        if (error != 0)
            ThrowCallFailure(
                error, "QzFileSystem::CreateTemporaryFile", ": ::GetTempFileNameW failed for '", prefix, "'.");
        return QzBase::ReturnWString(path.size(), path.c_str());
    }
}
