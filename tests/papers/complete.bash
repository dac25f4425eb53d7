# usage: bash complete.bash COMPLETION_FILE WORD...
# Prints what bash offers for the last word, one a line, through the function that the file registers.
set -u
source "$1"
COMP_WORDS=("${@:2}")
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
registered=$(complete -p idphoto)
function=${registered#*-F } && function=${function%% *}
"$function" "${COMP_WORDS[0]}" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
((${#COMPREPLY[@]} == 0)) || printf '%s\n' "${COMPREPLY[@]}"
