# Completion of qzlog for bash.

_qzlog_logs()
{
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
}

_qzlog()
{
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
    local options
    COMPREPLY=()
    if ((COMP_CWORD == 1)); then
        COMPREPLY=($(compgen -W 'view check stats write mask --help --version' -- "$current"))
        return
    fi

    local filters='--logger --dispatcher --message-id --user --session --object --process --thread --host --server
        --since --until --text --regex --ignore-case --invert --utc --recursive'
    case $command in
        view)
            options="--follow --tail --head --count --quiet --json --color --no-backups --brokers --topic
                --cursor-file --sync --context --before-context --after-context --no-pager $filters"
            ;;
        check) options='--quiet --no-backups --recursive' ;;
        stats) options="--slot --by --top --json --no-backups $filters" ;;
        write) options='--logger --dispatcher --user --session --object --server --max-size --backups' ;;
        mask) options='--attribute --with --http --lines' ;;
        *) return ;;
    esac

    case $previous in
        --cursor-file) _qzlog_logs ;;
        --color) COMPREPLY=($(compgen -W 'auto always never' -- "$current")) ;;
        --dispatcher | -D) COMPREPLY=($(compgen -W 'Trace Info Error' -- "$current")) ;;
        --since | --until | -S | -U) COMPREPLY=($(compgen -W 'now today yesterday 10m 1h 1d' -- "$current")) ;;
        --by) COMPREPLY=($(compgen -W 'user session object host server process thread logger dispatcher id message
            minute hour day' -- "$current")) ;;
        --slot) COMPREPLY=($(compgen -W '1m 10m 1h 1d' -- "$current")) ;;
        --max-size) COMPREPLY=($(compgen -W '500k 2000000 20m' -- "$current")) ;;
        --host) COMPREPLY=($(compgen -A hostname -- "$current")) ;;
        --logger | --message-id | --user | --session | --object | --process | --thread | --server | --text | --regex | \
            --tail | --head | --context | --before-context | --after-context | --topic | --brokers | --top | --backups | --attribute | --with | -[ABCFELusonmbXaw]) ;;
        *)
            if [[ $current == -* ]]; then
                COMPREPLY=($(compgen -W "$options --help" -- "$current"))
            elif [[ $command != mask ]]; then
                _qzlog_logs
            fi
            ;;
    esac
}

complete -F _qzlog qzlog
