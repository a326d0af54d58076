# Makes the pieces of a completion from the help of qzlog, which is the one list of its options.
# Input: the help of qzlog itself, and then of each command, each after a line "= COMMAND". Variable: shell.
# Output: for each piece a line "@ NAME" and what it consists of. complete.sh puts them into their frames. With the
# variable "table" for a shell: for each name of an option a line of command, name, value and default, and for each word
# that the description lists one of command and word.

BEGIN { column = 31 } # where descriptions begin

/^= / { command = $2; next }
command == "" && /^Subcommands:/ { isList = 1; next }
command == "" && isList && /^  [a-z]/ { describe[$1] = substr($0, column); commands[++count] = $1; next }
command != "" && /^  LOG / { hasFiles[command] = 1; next }
command != "" && /^  -/ { add(); next }
command != "" && /^ +[^ ]/ && owesText { texts[command, counts[command]] = clean($0); owesText = 0; next }
{ owesText = 0 }

function clean(text) { gsub(/^ +| +$/, "", text); return text }

# "  -n,--tail N                 The last N records only": the names, and the name of the value if there is one.
function add(   head, at, parts)
{
    head = substr($0, 1, column - 1)
    owesText = head !~ / $/
    if (owesText)
        head = $0
    sub(/ (Needs|Excludes):.*/, "", head)
    at = ++counts[command]
    split(clean(head), parts, " ")
    names[command, at] = parts[1]
    values[command, at] = parts[2]
    texts[command, at] = owesText ? "" : substr($0, column)
}

# The words that the description lists, if it does.
function listed(command, at,   list)
{
    list = texts[command, at]
    gsub(/ *\([^)]*\)/, "", list)
    sub(/.*: /, "", list)
    return list ~ /^[a-z]+(, [a-z]+)* or [a-z]+$/ && gsub(/, | or /, " ", list) ? list : ""
}

# What a value can be: as the description lists it, or what is usual for its kind.
function words(command, at)
{
    if (listed(command, at) != "")
        return listed(command, at)
    if (names[command, at] ~ /--dispatcher$/)
        return "Trace Info Error"
    if (names[command, at] ~ /--host$/)
        return "<hosts>"
    return usual[values[command, at]]
}

function quote(text) { gsub(/'/, "'\\''", text); return "'" text "'" }
function fishQuote(text) { gsub(/'/, "\\\\'", text); return "'" text "'" }
function zshEscape(text) { gsub(/\[/, "\\\\[", text); gsub(/\]/, "\\\\]", text); gsub(/:/, "\\\\:", text); return text }

function long(name) { return name ~ /--/ ? substr(name, index(name, "--")) : "" }
function short(name) { return name ~ /^-[^-]/ ? substr(name, 1, 2) : "" }

function bash(   i, at, line, offer)
{
    print "@ commands"
    for (i = 1; i <= count; ++i)
        line = line commands[i] " "
    print "commands='" line "--help --version'"
    print "@ options"
    for (i = 1; i <= count; ++i) {
        line = commands[i] ") hasFiles=" hasFiles[commands[i]] " options='"
        for (at = 1; at <= counts[commands[i]]; ++at)
            line = line long(names[commands[i], at]) " "
        print line "' ;;"
    }
    print "@ values"
    for (i = 1; i <= count; ++i)
        for (at = 1; at <= counts[commands[i]]; ++at) {
            if (values[commands[i], at] == "")
                continue
            line = names[commands[i], at]
            sub(/,/, " | " commands[i], line)
            offer = words(commands[i], at)
            print commands[i] line ") " (offer == "<files>" ? "_qzlog_files" : offer == "<hosts>" ? \
                "_qzlog_offer -A hostname" : offer == "" ? ":" : "_qzlog_offer -W " quote(offer)) " ;;"
        }
}

function zshAction(offer)
{
    return offer == "<files>" ? "_files" : offer == "<hosts>" ? "_hosts" : offer == "" ? " " : "(" offer ")"
}

function zshRule(command, at, name,   rule)
{
    if (name == "")
        return ""
    rule = "*" name "[" zshEscape(texts[command, at]) "]"
    if (values[command, at] != "")
        rule = rule ":" zshEscape(values[command, at]) ":" zshAction(words(command, at))
    return " \\\n    " quote(rule)
}

function zsh(   i, at, command)
{
    print "@ commands"
    for (i = 1; i <= count; ++i)
        print quote(commands[i] ":" zshEscape(describe[commands[i]]))
    print "@ options"
    for (i = 1; i <= count; ++i) {
        command = commands[i]
        printf "%s) _arguments -s", command
        if (hasFiles[command])
            printf " '*:LOG:_files'"
        for (at = 1; at <= counts[command]; ++at)
            printf "%s%s", zshRule(command, at, short(names[command, at])), zshRule(command, at, long(names[command, at]))
        print " ;;"
    }
}

function fishRule(command, at,   rule, offer)
{
    rule = "complete -c qzlog -n '__fish_seen_subcommand_from " command "'"
    if (short(names[command, at]) != "")
        rule = rule " -s " substr(short(names[command, at]), 2)
    if (long(names[command, at]) != "")
        rule = rule " -l " substr(long(names[command, at]), 3)
    offer = words(command, at)
    if (offer == "<files>")
        rule = rule " -r -F"
    else if (values[command, at] != "")
        rule = rule " -x" (offer == "<hosts>" ? " -a '(__fish_print_hostnames)'" : offer == "" ? "" : \
            " -a " fishQuote(offer))
    return rule " -d " fishQuote(texts[command, at])
}

function fish(   i, at)
{
    print "@ rules"
    for (i = 1; i <= count; ++i) {
        print "complete -c qzlog -n __fish_use_subcommand -a " commands[i] " -d " fishQuote(describe[commands[i]])
        if (hasFiles[commands[i]])
            print "complete -c qzlog -n '__fish_seen_subcommand_from " commands[i] "' -F"
        for (at = 1; at <= counts[commands[i]]; ++at)
            print fishRule(commands[i], at)
    }
}

function table(   i, at, command, text, parts, n)
{
    for (i = 1; i <= count; ++i) {
        command = commands[i]
        for (at = 1; at <= counts[command]; ++at) {
            text = match(texts[command, at], /\([^() ]+\)$/) ? substr(texts[command, at], RSTART) : ""
            for (n = split(names[command, at], parts, ","); n > 0; --n)
                print clean(command " " parts[n] " " values[command, at] " " text)
            for (n = split(listed(command, at), parts, " "); n > 0; --n)
                print command " " parts[n]
        }
    }
}

END {
    usual["TIME"] = "now today yesterday 10m 1h 1d"
    usual["SPAN"] = "1m 10m 1h 1d"
    usual["SIZE"] = "500k 2000000 20m"
    usual["FILE"] = "<files>"
    if (shell == "bash")
        bash()
    else if (shell == "zsh")
        zsh()
    else if (shell == "fish")
        fish()
    else
        table()
}
