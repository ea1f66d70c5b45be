# SPDX-License-Identifier: MIT
# complete.zsh SETUP LINE...: what an interactive zsh makes of each beginning of a command line when Tab is pressed behind it.
# SETUP is run in that shell before.

zmodload zsh/zpty zsh/system || exit 1
setup=$1
shift
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

zpty shell TERM=dumb zsh -f -i
zpty -w shell "PS1=; unsetopt zle_bracketed_paste; autoload -Uz compinit; compinit -u -D; $setup
show() { print -r -- \"\$BUFFER\" >>\$shown; BUFFER=; }; zle -N show; bindkey '^X' show; bindkey '^I' complete-word
print ready >>\$shown"
integer lines=1
await $lines
for line in "$@"; do
    zpty -w -n shell "$line"$'\t\C-x'
    await $((++lines))
done
tail -n +2 $shown
zpty -d shell
