# SPDX-License-Identifier: MIT
# complete.zsh SHELL SETUP LINE...: what an interactive zsh or bash makes of each beginning of a command line when Tab is pressed
# behind it. SETUP is run in that shell before.

zmodload zsh/zpty zsh/system || exit 1
program=$1 setup=$2
shift 2
export shown=$(mktemp) || exit 1
trap 'rm -f $shown' EXIT

# Waits until so many lines are there.
await()
{
    local -i i
    for ((i = 0; i < 1000; ++i)); do
        (($(wc -l <$shown) >= $1)) && return
        sleep 0.02
    done
    print -u2 "the shell does not answer"
    exit 1
}

case $program in
zsh)
    zpty shell TERM=dumb zsh -f -i
    zpty -w shell "PS1=; unsetopt zle_bracketed_paste; autoload -Uz compinit; compinit -u -D; $setup
show() { print -r -- \"\$BUFFER\" >>\$shown; BUFFER=; }; zle -N show; bindkey '^G' show; bindkey '^I' complete-word
print ready >>\$shown"
    ;;
bash)
    zpty shell TERM=dumb bash --norc --noprofile -i
    zpty -w shell "PS1=; $setup
show() { printf '%s\\n' \"\$READLINE_LINE\" >>\$shown; READLINE_LINE= READLINE_POINT=0; }; bind -x '\"\C-g\": show'
echo ready >>\$shown"
    ;;
esac
integer lines=1
await $lines
for line in "$@"; do
    zpty -w -n shell "$line"$'\t\C-g'
    await $((++lines))
done
tail -n +2 $shown
zpty -d shell
