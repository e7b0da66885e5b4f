# SPDX-License-Identifier: MIT
# complete.zsh FOLDER LINE: prints what an interactive zsh, whose completions lie in the folder, offers at the end of the
# line.
if [[ $1 == --inside ]]; then
    PS1= PS2=
    fpath=($2 $fpath)
    autoload -Uz compinit
    compinit -u -D
    # What would be offered is printed.
    compadd() {
        local -a hits
        if [[ "${@[1,(i)(-|--)]}" == *-(O|A|D)\ * ]]; then
            builtin compadd "$@"
            return
        fi
        builtin compadd -A hits "$@"
        # It is offered, too, as what comes then depends on it.
        (( $#hits )) && print -rl -- "${(@)${(@Q)hits}/#/OFFER:}"
        builtin compadd "$@"
    }
    finish() {
        _main_complete
        print -r -- THE-END
        exit
    }
    zle -C finish complete-word finish
    bindkey '^I' finish
    print -r -- THE-BEGINNING
    return
fi
zmodload zsh/zpty
zpty shell zsh -f -i
zpty -w shell "source ${(q)0:A} --inside ${(q)1}"
zpty -r shell line '*THE-BEGINNING*'
zpty -n -w shell "$2"$'\t'
zpty -r shell line '*THE-END*'
for line in "${(@f)line}"; do
    [[ $line == *OFFER:* ]] && print -r -- "${${line##*OFFER:}%$'\r'}"
done
zpty -d shell
