#pragma once

#include "support/ForkedChild.h"

#include <QzBase/Conversions.h>
#include <QzBase/WideString.h>
#include <QzDataType/Binary.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

namespace QzTest
{
    /// Wide text that goes where a pointer to it is wanted.
    struct WideText : QzBase::WideString
    {
        WideText(unsigned short const* text) : basic_string(text) {}
        WideText(QzBase::ReturnWString const& text) : basic_string(text.c_str()) {}
        operator unsigned short const*() const { return c_str(); }
    };

    inline WideText Wide(std::string const& text)
    {
        return QzBase::UTF8ToWideChar(text.c_str(), false);
    }

    inline std::string Narrow(WideText const& text)
    {
        return QzBase::WideCharToUTF8(text, false).c_str();
    }

    using BinaryPtr = std::unique_ptr<QzDataType::Binary>;
    inline BinaryPtr MakeBinary(std::size_t size)
    {
        return BinaryPtr(QzDataType::CreateBinary(size, nullptr));
    }
    inline std::string ToString(QzDataType::Binary& binary)
    {
        return std::string(binary.GetData(), binary.GetData() + binary.GetSize());
    }

    inline std::ptrdiff_t CountOpenDescriptors()
    {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }

    using Snapshot = std::map<std::string, std::string>;

    /// A folder of its own for each test, which is the current directory meanwhile and is removed with all in it.
    class TemporaryFolder : public testing::Test
    {
    protected:
        TemporaryFolder() : mFolder(testing::TempDir() + "qzlog-files-XXXXXX")
        {
            mkdtemp(mFolder.data());
            std::filesystem::current_path(mFolder);
        }

        ~TemporaryFolder() override
        {
            SetTemporary(mOldTemporary);
            std::error_code ignored;
            std::filesystem::current_path(mOldDirectory, ignored);
            std::filesystem::remove_all(mFolder, ignored);
        }

        /// Sets the directory for temporary files, until the test ends.
        static void SetTemporary(std::string const& path) { setenv("TMPDIR", path.c_str(), 1); }

        std::string In(std::string const& name) const { return mFolder + '/' + name; }
        WideText WideIn(std::string const& name) const { return Wide(In(name)); }
        void MakeFolder(std::string const& name) const { std::filesystem::create_directories(In(name)); }

        /// Removes all that is in the folder.
        void Clear() const
        {
            for (auto const& entry : std::filesystem::directory_iterator(mFolder))
                std::filesystem::remove_all(entry);
        }

        void Put(std::string const& name, std::string const& content) const
        {
            std::ofstream(In(name), std::ios::binary) << content;
        }

        std::string Get(std::string const& name) const
        {
            std::ifstream file(In(name), std::ios::binary);
            return std::string(std::istreambuf_iterator<char>(file), {});
        }

        /// Names and contents of all files, and names of all folders, below the folder.
        Snapshot TakeSnapshot() const
        {
            Snapshot snapshot;
            for (auto const& entry : std::filesystem::recursive_directory_iterator(mFolder))
            {
                std::string const name = std::filesystem::relative(entry.path(), mFolder);
                snapshot[name] = entry.is_regular_file() ? Get(name) : "folder";
            }
            return snapshot;
        }

        std::string mFolder;

    private:
        std::filesystem::path const mOldDirectory = std::filesystem::current_path();
        std::string const mOldTemporary = getenv("TMPDIR") ? getenv("TMPDIR") : "";
    };
}
