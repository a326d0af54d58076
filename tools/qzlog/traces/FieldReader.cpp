#include "traces/FieldReader.h"

namespace QzLogTool
{
    FieldReader::End FieldReader::Read(std::string& field)
    {
        if (mIsAtLineEnd)
        {
            ++mLine;
            mColumn = 0;
        }
        ++mColumn;
        field.clear();
        int byte;
        while ((byte = Take()) >= 0 && byte != '\t' && byte != '\n')
            if (field.size() < kLongest)
                field += static_cast<char>(byte);
        mIsAtLineEnd = byte == '\n';
        // Some programs that copy text write CR LF.
        if (mIsAtLineEnd && field.ends_with('\r'))
            field.pop_back();
        return byte < 0 ? End::File : mIsAtLineEnd ? End::Line : End::Tab;
    }

    /// The next byte, or a negative number at the end.
    int FieldReader::Take()
    {
        constexpr std::size_t kBlock = std::size_t{64} << 10;
        if (mAt == mBuffer.size())
        {
            mAt = 0;
            mBuffer.resize(kBlock);
            mBuffer.resize(mFile.Read(mBuffer.data(), kBlock));
        }
        return mAt < mBuffer.size() ? static_cast<unsigned char>(mBuffer[mAt++]) : -1;
    }
}
