# SPDX-License-Identifier: MIT
# complete.zsh SHELL SETUP LINE...: what an interactive zsh or bash makes of each beginning of a command line when Tab is pressed
# behind it. SETUP is run in that shell before.
#
# The shell answers through a named pipe, one line for each Tab, and the next keys are pressed only then: nothing here depends on
# how quick the shell is. If it ends, the pipe ends too.

zmodload zsh/zpty zsh/system || exit 1
program=$1 setup=$2
shift 2
folder=$(mktemp -d) || exit 1
trap 'rm -rf $folder' EXIT
export answers=$folder/answers
mkfifo $answers || exit 1

case $program in
zsh)
    zpty shell TERM=dumb zsh -f -i
    zpty -w shell "exec 9>\$answers; PS1=; unsetopt zle_bracketed_paste; autoload -Uz compinit; compinit -u -D; $setup
show() { print -r -u 9 -- \"\$BUFFER\"; BUFFER=; }; zle -N show; bindkey '^G' show; bindkey '^I' complete-word
print -u 9 ready"
    ;;
bash)
    zpty shell TERM=dumb bash --norc --noprofile -i
    zpty -w shell "exec 9>\$answers; PS1=; $setup
show() { printf '%s\\n' \"\$READLINE_LINE\" >&9; READLINE_LINE= READLINE_POINT=0; }; bind -x '\"\C-g\": show'
echo ready >&9"
    ;;
esac
exec 8<$answers # waits until the shell has opened its end

# Waits for the next line of the shell.
answer()
{
    IFS= read -r -u 8 reply && return
    print -u2 "the shell does not answer"
    exit 1
}

answer
for line in "$@"; do
    zpty -w -n shell "$line"$'\t\C-g'
    answer
    print -r -- "$reply"
done
zpty -d shell
