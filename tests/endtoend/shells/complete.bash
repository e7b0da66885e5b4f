# SPDX-License-Identifier: MIT
# complete.bash SCRIPT WORD...: prints what bash offers for the last word. In the words of readline, "=" stands alone.
source "$1"
shift
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
compopt() { :; } # there is no completion under way
"$(complete -p "$1" | sed 's/.*-F \([^ ]*\).*/\1/')" "$@"
printf '%s\n' "${COMPREPLY[@]}"
