# Sourced by the interactive zsh of complete.zsh: a tab writes down what is offered, and ends the shell.
fpath=($COMPLETION_FOLDER $fpath)
autoload -Uz compinit
compinit -D -u

# Through this builtin every offer goes. Calls with -A, -D or -O only ask which words match.
compadd() {
    local word
    for word in "$@"; do
        [[ $word != (-|--) ]] || break
        if [[ $word == -*[ADO] ]]; then
            builtin compadd "$@"
            return
        fi
    done
    local -a offered
    builtin compadd -O offered "$@"
    print -rl -- $offered >> $COMPLETION_OFFERS
    builtin compadd "$@"
}

# The second time counts: the first one loads the completion function.
write-offers-down() {
    local line=$BUFFER
    zle complete-word
    BUFFER=$line
    CURSOR=$#line
    : > $COMPLETION_OFFERS
    zle complete-word
    exit
}
zle -N write-offers-down
bindkey '^I' write-offers-down

print prepared to complete
