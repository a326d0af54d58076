#pragma once

#include <QzLogKit/Destination_Capture.h>

#include <gmock/gmock.h>

#include <utility>

// Matchers of GoogleTest for captured messages. Each takes a value or another matcher; those that are not named match
// anything:
//
//     EXPECT_THAT(capture->Take(), ElementsAre(AllOf(DispatcherIs("Error"), TextIs(HasSubstr("refused")))));
//     EXPECT_THAT(capture->GetMessages(), Each(UserIs("alice")));
//
// The library is not linked with GoogleTest; only this header includes it.

namespace QzLogKit
{
    template <class Matcher>
    auto TextIs(Matcher&& matcher)
    {
        return testing::Field("text", &CapturedMessage::mText, std::forward<Matcher>(matcher));
    }

    template <class Matcher>
    auto LoggerIs(Matcher&& matcher)
    {
        return testing::Field("logger", &CapturedMessage::mLogger, std::forward<Matcher>(matcher));
    }

    template <class Matcher>
    auto DispatcherIs(Matcher&& matcher)
    {
        return testing::Field("dispatcher", &CapturedMessage::mDispatcher, std::forward<Matcher>(matcher));
    }

    template <class Matcher>
    auto MessageIDIs(Matcher&& matcher)
    {
        return testing::Field("message ID", &CapturedMessage::mMessageID, std::forward<Matcher>(matcher));
    }

    template <class Matcher>
    auto UserIs(Matcher&& matcher)
    {
        return testing::Field("user", &CapturedMessage::mUserID, std::forward<Matcher>(matcher));
    }

    template <class Matcher>
    auto SessionIs(Matcher&& matcher)
    {
        return testing::Field("session", &CapturedMessage::mSessionID, std::forward<Matcher>(matcher));
    }

    template <class Matcher>
    auto ObjectIs(Matcher&& matcher)
    {
        return testing::Field("object", &CapturedMessage::mObjectID, std::forward<Matcher>(matcher));
    }

    /// The whole name of the file, as the call gave it: use testing::EndsWith.
    template <class Matcher>
    auto SourceFileIs(Matcher&& matcher)
    {
        return testing::Field("source file", &CapturedMessage::mSourceFile, std::forward<Matcher>(matcher));
    }
}
