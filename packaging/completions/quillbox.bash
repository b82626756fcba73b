# SPDX-License-Identifier: Apache-2.0
# bash completion for quillbox: its commands, each command's options, files and folders.
# Files and folders through bash-completion's _filedir when it is loaded, else compgen.
_quillbox_files() {
    if declare -F _filedir >/dev/null; then
        _filedir "$@"
    elif [[ ${1:-} == -d ]]; then
        mapfile -t COMPREPLY < <(compgen -d -- "$cur")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$cur")
    fi
}

_quillbox() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}
    local -a words=("${COMP_WORDS[@]}")
    local cword=$COMP_CWORD

    local commands="dump info extract eml rtf ics vcf view mime"
    local global="-h --help --version --max-size"
    local command="" i
    for ((i = 1; i < cword; i++)); do
        case ${words[i]} in
            --max-size) ((i++)) ;;
            -*) ;;
            *) command=${words[i]}; break ;;
        esac
    done

    case $prev in
        --max-size) mapfile -t COMPREPLY < <(compgen -W "64M 512M 2G" -- "$cur"); return ;;
        -j | --jobs) mapfile -t COMPREPLY < <(compgen -W "1 2 4 8" -- "$cur"); return ;;
        --version)
            [[ $command == vcf ]] && mapfile -t COMPREPLY < <(compgen -W "2.1 4.0" -- "$cur")
            return ;;
        --resources | --attachments)
            _quillbox_files -d; return ;;
        --stylesheet) _quillbox_files css; return ;;
        -o | --output)
            if [[ $command == extract ]]; then _quillbox_files -d; else _quillbox_files; fi
            return ;;
    esac

    if [[ -z $command ]]; then
        if [[ $cur == -* ]]; then
            mapfile -t COMPREPLY < <(compgen -W "$global" -- "$cur")
        else
            mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$cur")
        fi
        return
    fi

    local options="-h --help --max-size"
    case $command in
        dump) ;;
        info) options+=" --json -r --recursive -j --jobs" ;;
        extract) options+=" -o --output --original-bodies -r --recursive -j --jobs" ;;
        eml | ics) options+=" -o --output" ;;
        rtf) options+=" -o --output --html --text" ;;
        vcf) options+=" -o --output --version" ;;
        view) options+=" -o --output --stylesheet --show-empty --attachments" ;;
        mime) options+=" -o --output --resources" ;;
    esac
    if [[ $cur == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
    elif [[ $command == mime ]]; then
        _quillbox_files eml
    else
        _quillbox_files
    fi
} && complete -F _quillbox quillbox
