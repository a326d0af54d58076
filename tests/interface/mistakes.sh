#!/usr/bin/env bash
# Compiles calls of QzLog::Log with a mistake in them. Each must fail with words that say what is to be done.
# usage: mistakes.sh COMPILER INCLUDE_FOLDER...
set -euo pipefail

compiler=$1
shift
options=(-std=c++20 -fsyntax-only -x c++ "${@/#/-I}" -)
begin='#include <QzLog/Log.h>
enum class Long : unsigned long { Value };
struct User {};
void Call(QzLog::Router& router, std::string const& text) {'
failures=0

# The words, and a call that must fail with them; without words, one that must compile.
check() {
    local message result=compiles
    message=$("$compiler" "${options[@]}" <<<"$begin $2; }" 2>&1) || result=fails
    if [ -z "$1" ]; then
        [ $result = fails ] || return 0
    elif [ $result = fails ] && grep -qF "$1" <<<"$message"; then
        return 0
    fi
    printf '%s: %s\n%s\n' "$2" "$result" "$message"
    failures=$((failures + 1))
}

check '' 'QzLog::Log(router, "%1", text)'
check 'Write RunTimeTemplate(text)' 'QzLog::Log(router, text)'
check 'Write RunTimeTemplate(text)' 'QzLog::LogAndThrow(&router, "%1" + text, 1)'
check 'After the router stands a template' 'QzLog::Log(router, L"wide")'
check 'no bool or character' "QzLog::Log(router, 'x')"
check 'at most 32 bits' 'QzLog::Log(&router, Long::Value)'
check 'ANumberInTheTemplateHasNoValue' 'QzLog::Log(router, "%1 %2", 1)'
check 'NoNumberInTheTemplateNamesThisManyValues' 'QzLog::Log(router, "%1", 1, 2)'
check 'Give this type an operator<<' 'QzLog::Log(router, "%1", User())'
check 'write a Router that is not const' 'QzLog::Log(text, "%1", 1)'
check 'A function must need no arguments' 'QzLog::Log(router, "%1", [] {})'
check 'Wide text is unsigned short const*' 'QzLog::Log(router, "%1", u"wide")'
exit $((failures != 0))
