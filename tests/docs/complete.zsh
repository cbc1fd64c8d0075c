#!/usr/bin/env zsh
# Prints what zsh offers at the end of a command line, one a line. zsh completes in its line editor, and that
# needs a terminal: an interactive zsh is given one, is prepared by complete-prepare.zsh, and gets the line
# and a tab.
#
#   complete.zsh FOLDER LINE      FOLDER holds the completion functions
emulate -R zsh
setopt extended_glob
zmodload zsh/zpty

prepare=${0:A:h}/complete-prepare.zsh
export COMPLETION_FOLDER=${1:A} COMPLETION_OFFERS=$(mktemp) TERM=dumb
line=$2

zpty shell zsh -f -i
zpty -w shell "source ${(q)prepare}"
while zpty -r shell printed; do
    [[ $printed != *'prepared to complete'* ]] || break
done
zpty -w -n shell $line$'\t'
while zpty -r shell printed; do
    # A function that goes wrong says so under its name.
    [[ $printed != *_[a-zA-Z]##:*:<->:* ]] || print -r -- $printed
done
grep -v '^$' $COMPLETION_OFFERS
rm -f -- $COMPLETION_OFFERS
