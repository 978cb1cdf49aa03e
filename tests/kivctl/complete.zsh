# complete.zsh FOLDER LINE SCRATCH: prints what zsh offers to complete LINE, with the completion functions in FOLDER.
# It leaves its files in the folder SCRATCH.
# SPDX-License-Identifier: MIT
zmodload zsh/zpty
folder=$3
cat >$folder/setup <<SETUP
fpath=($1 \$fpath)
autoload -Uz compinit
compinit -u -d $folder/dump
bindkey '^I' complete-word
compadd() {
    local -a hits
    if [[ \${@[1,(i)(-|--)]} != *-(O|A|D)\ * ]]; then
        builtin compadd -A hits "\$@"
        print -rl -- \$hits >>$folder/hits
    fi
    builtin compadd "\$@"
}
comppostfuncs=(exit)
SETUP
zpty shell zsh -f -i
zpty -w shell "source $folder/setup"
zpty -w -n shell "$2"$'\t'
while zpty -r shell; do :; done >/dev/null
[[ ! -e $folder/hits ]] || sed '/^$/d' $folder/hits
