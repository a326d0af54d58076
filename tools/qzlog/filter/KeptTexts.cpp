#include "filter/KeptTexts.h"

#include "Trouble.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace QzLogTool
{
    namespace
    {
        std::string GetFolder()
        {
            char const* const folder = std::getenv("TMPDIR");
            return folder && *folder ? folder : "/tmp";
        }

        [[noreturn]] void Fail()
        {
            throw MakeSystemTrouble(
                GetFolder(), errno, "a long record must be kept there; set TMPDIR to a folder with room");
        }

        std::FILE* OpenWithoutName()
        {
            std::string path = GetFolder() + "/qzlog-XXXXXX";
            int const descriptor = mkostemp(path.data(), O_CLOEXEC);
            if (descriptor < 0)
                Fail();
            unlink(path.c_str());
            std::FILE* const pFile = fdopen(descriptor, "w+");
            if (!pFile)
            {
                close(descriptor);
                Fail();
            }
            return pFile;
        }
    }

    void KeptTexts::Add(std::string_view text)
    {
        if (!mpFile)
            mpFile.reset(OpenWithoutName());
        if (std::fwrite(text.data(), 1, text.size(), mpFile.get()) != text.size())
            Fail();
        mSizes.push_back(text.size());
    }

    bool KeptTexts::TakeNext(std::string_view& text)
    {
        if (mSizes.empty())
            return false;
        // This writes what the buffer still holds.
        if (!mIsReading && std::fseek(mpFile.get(), 0, SEEK_SET) != 0)
            Fail();
        mIsReading = true;
        mText.resize(mSizes.front());
        mSizes.pop_front();
        if (std::fread(mText.data(), 1, mText.size(), mpFile.get()) != mText.size())
            Fail();
        text = mText;
        return true;
    }

    void KeptTexts::Clear()
    {
        mpFile.reset();
        mSizes.clear();
        mText = std::string();
        mIsReading = false;
    }
}
