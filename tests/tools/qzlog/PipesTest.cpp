#include "ToolFixture.h"

namespace
{
    using namespace QzTest;

    using PipesTest = ToolFixture;

    /// What the commands that read standard input make of it, and what they tell when they cannot.
    TEST_F(PipesTest, NoByteOfTheInputIsLostUnseen)
    {
        MakeFolder("full.log.bak00");
        Check({
            {"printf 'one\\r\\n\\ntwo\\0x\\nlast' | qzlog write -D Error -u alice --max-size 1 --backups 3 a.log && "
             "qzlog view --user alice --dispatcher Error a.log | sed 's/.*\\] //'",
                "one\n\ntwo\xEF\xBF\xBDx\nlast\n", 0},
            {"printf 'one\\ntwo\\n' | qzlog write --max-size 1 full.log",
                "QzLog: messages are being lost, log file 'full.log': Failed to move file 'full.log.bak~n' to "
                "'full.log.bak00'. Is a directory\r\n"
                "qzlog: full.log: line 2 of the input could not be written, and what follows was not tried\n",
                2},
            {"echo one | qzlog write .", "qzlog: .: Is a directory\n", 2},
            {"printf 'x a=\"1\" b=\"2\"\\n\\0 a=\"3\"' | qzlog mask -a a -a b -w % 2>/dev/null | tr '\\0' 0",
                "x a=\"%\" b=\"%\"\n0 a=\"%\"", 0},
            {"printf 'x a=\"1\\n2\"\\n a=\"3\"' | qzlog mask -l -a a",
                "x a=\"1\n2\"\n a=\"***\"qzlog: mask: 1 value was replaced (--attribute 1)\n", 0},
            {"qzlog mask < /dev/null",
                "qzlog: mask: nothing to mask; give --set, --key, --regex, --attribute or --http\n", 2},
        });
    }
}
