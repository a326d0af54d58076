#pragma once

#include "Trouble.h"

#include <cstdio>
#include <string>
#include <string_view>

namespace QzLogTool
{
    /// Standard input, bytes as they come. Operations throw Trouble when it cannot be read.
    class StandardInput
    {
    public:
        /// The next line with its LF, if it has one. False at the end.
        bool ReadLine(std::string& line)
        {
            line.clear();
            for (int byte; (byte = getc_unlocked(stdin)) != EOF;)
            {
                line += static_cast<char>(byte);
                if (byte == '\n')
                    return true;
            }
            CheckEnd();
            return !line.empty();
        }

        std::string ReadAll()
        {
            std::string text;
            char block[65536];
            while (std::size_t const count = std::fread(block, 1, sizeof(block), stdin))
                text.append(block, count);
            CheckEnd();
            return text;
        }

    private:
        static void CheckEnd()
        {
            if (std::ferror(stdin))
                throw MakeSystemTrouble("standard input", errno);
        }
    };

    /// Standard output. Operations throw Trouble when it cannot be written.
    class StandardOutput
    {
    public:
        void Write(std::string_view text)
        {
            if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
                Fail();
        }

        void Flush()
        {
            if (std::fflush(stdout) != 0)
                Fail();
        }

    private:
        [[noreturn]] static void Fail() { throw MakeSystemTrouble("standard output", errno); }
    };
}
