# SPDX-License-Identifier: MIT
# Completion of taskmill, taskmillctl and taskmill-slurm in fish: the client knows what fits, also what the running manager has.
function __taskmill_complete
    set -l current (commandline -ct)
    set -l lines (taskmillctl --complete (commandline -opc) "$current" 2>/dev/null)
    switch "$lines[1]"
        case files
            __fish_complete_path "$current"
        case projects
            set -l found $current*.mill $current*/
            printf '%s\n' $found
    end
    printf '%s\n' $lines[2..-1]
end
complete -c taskmillctl -f -a '(__taskmill_complete)'
complete -c taskmill -f -a '(__taskmill_complete)'
complete -c taskmill-slurm -f -a '(__taskmill_complete)'
