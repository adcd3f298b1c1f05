# bash completion for the vantaquill command
_vantaquill() {
    local cur prev words cword
    _init_completion || return

    local commands="notify end shelf agent status open hook doctor"
    local command="" sub="" i
    for ((i = 1; i < cword; i++)); do
        case "${words[i]}" in
            --port) ((i++)) ;;
            -*) ;;
            *)
                if [[ -z $command ]]; then command=${words[i]}; elif [[ -z $sub ]]; then sub=${words[i]}; fi
                ;;
        esac
    done

    case "$prev" in
        --port|--id|--title|--subtitle|--symbol|--progress|--expires-in|--session|--command|--name|--event|--message|--tool)
            return ;;
        --priority)
            COMPREPLY=($(compgen -W "ambient normal important critical" -- "$cur")); return ;;
        --agent)
            COMPREPLY=($(compgen -W "claude-code codex gemini cursor" -- "$cur")); return ;;
        --cwd)
            _filedir -d; return ;;
    esac

    case "$command" in
        "")
            COMPREPLY=($(compgen -W "$commands --port --help" -- "$cur")) ;;
        notify)
            COMPREPLY=($(compgen -W "--id --title --subtitle --symbol --progress --priority --expires-in --help" -- "$cur")) ;;
        shelf)
            if [[ -z $sub ]]; then COMPREPLY=($(compgen -W "add" -- "$cur")); else _filedir; fi ;;
        agent)
            case "$sub" in
                "") COMPREPLY=($(compgen -W "approve event" -- "$cur")) ;;
                approve) COMPREPLY=($(compgen -W "--session --command --name --help" -- "$cur")) ;;
                event) COMPREPLY=($(compgen -W "--event --session --name --message --tool --command --cwd --progress --help" -- "$cur")) ;;
            esac ;;
        open)
            COMPREPLY=($(compgen -W "vantaquill://open/shelf vantaquill://settings vantaquill://notify?title= vantaquill://clipboard" -- "$cur")) ;;
        hook)
            COMPREPLY=($(compgen -W "--agent --event --help" -- "$cur")) ;;
        end|status|doctor)
            COMPREPLY=($(compgen -W "--help" -- "$cur")) ;;
    esac
}
complete -F _vantaquill vantaquill
