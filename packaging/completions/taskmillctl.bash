# SPDX-License-Identifier: MIT
# Completion of taskmill, taskmillctl and taskmill-slurm in bash: the client knows what fits, also what the running manager has.
_taskmill() {
    local current=${COMP_WORDS[COMP_CWORD]} line
    local -a words=("${COMP_WORDS[@]:0:COMP_CWORD}") lines
    # Without an open quotation mark, and without what protects blanks.
    current=${current#[\"\']}
    current=${current//\\/}
    [ "$current" = = ] && current=
    mapfile -t lines < <(taskmillctl --complete "${words[@]}" "$current" 2>/dev/null)
    COMPREPLY=()
    case ${lines[0]-} in
    files) compopt -o filenames && mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    projects) compopt -o filenames &&
        mapfile -t COMPREPLY < <(compgen -f -X '!*.mill' -- "$current" && true; compgen -d -- "$current") ;;
    esac
    for line in "${lines[@]:1}"; do
        line=${line%%$'\t'*}
        # It is quoted as a file is.
        [[ $line == *[^[:alnum:]_=./@-]* ]] && compopt -o filenames
        [[ $line == *= ]] && compopt -o nospace
        COMPREPLY+=("$line")
    done
}
complete -F _taskmill taskmill taskmillctl taskmill-slurm
