# usage: zsh -f complete.zsh COMPLETION_FOLDER COMMAND_LINE
# Types the line and a tab into an interactive zsh on a terminal of its own and prints what that offers, one a line.
zmodload zsh/zpty
setup=$(mktemp)
trap 'rm -f $setup' EXIT
cat >$setup <<'SETUP'
PROMPT= RPROMPT=
stty -echo
autoload -Uz compinit && compinit -u -d ~/.zcompdump
bindkey '^I' complete-word
# Every offer passes through compadd: have it say which words match. The shell ends before it shows them itself.
compadd() {
  local -a hits
  # With these options it computes for its caller and offers nothing.
  if [[ ${@[1,(i)(-|--)]} != *-(O|A|D)\ * ]]; then
    builtin compadd -A hits "$@"
    (( $#hits )) && print -rl -- "OFFER "${^hits}
  fi
  builtin compadd "$@"
}
finish() { print -r -- DONE; exit }
comppostfuncs=(finish)
print READY
SETUP
zpty shell env TERM=dumb zsh -f -i
zpty -w shell "fpath=($1 \$fpath); source $setup"
while zpty -r shell line; do [[ $line == READY* ]] && break; done
zpty -w -n shell "$2"$'\t'
while zpty -r shell line; do
  line=${line//[$'\r\n']/}
  [[ $line == *DONE ]] && break
  [[ $line == *'OFFER '* ]] && print -r -- ${line##*OFFER }
done
zpty -d shell
