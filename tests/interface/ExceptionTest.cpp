// What the library throws is caught on the other side of its border.
#include <QzLog/QzLog.h>

#include <gtest/gtest.h>

#include <exception>

using namespace QzBase;

namespace
{
    constexpr char kNotRunning[] = "The logging module is not running: no QzLog::Initializer is alive.";

    /// Throws past whatever would catch it.
    void ForgetInitializer() noexcept
    {
        QzLog::GetConfigurationHook();
    }
}

TEST(ExceptionTest, ShowsItsTextWhenNobodyCatchesIt)
{
    EXPECT_DEATH(ForgetInitializer(), kNotRunning);
}

TEST(ExceptionTest, IsAMessageAndAStandardException)
{
    try
    {
        throw ExceptionImpl<QzLog::Exception>(MESSAGE_DOMAIN_SERVER, 7, "caf\xC3\xA9");
    }
    catch (Message& message)
    {
        auto& exception = dynamic_cast<ExceptionImpl<QzLog::Exception>&>(message);
        char const* const first = exception.what();
        ExceptionImpl<QzLog::Exception> const copy = exception;
        message.WrapBy(MESSAGE_DOMAIN_SERVER, 8, "outer");
        EXPECT_STREQ(first, "caf\xC3\xA9");
        EXPECT_STREQ(copy.what(), first);
        EXPECT_STREQ(exception.what(), "outer\r\ncaf\xC3\xA9");
        EXPECT_EQ(exception.what(), exception.what()) << "a text for each call";
    }
    try
    {
        QzLog::GetConfigurationHook();
    }
    catch (std::exception const& exception)
    {
        EXPECT_STREQ(exception.what(), kNotRunning);
    }
}
