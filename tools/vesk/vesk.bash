# Bash completion for vesk: its commands, each command's options, the
# components that set takes, and file names where an option wants a file. The
# commands and options are read from the tool's own help, so they stay in step
# with the tool.

_vesk() {
  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}
  local tool=${COMP_WORDS[0]} command="" i
  for ((i = 1; i < COMP_CWORD; i++)); do
    if [[ ${COMP_WORDS[i]} != -* ]]; then
      command=${COMP_WORDS[i]}
      break
    fi
  done

  if [[ -z $command ]]; then
    if [[ $cur == -* ]]; then
      mapfile -t COMPREPLY < <(compgen -W '--help --version' -- "$cur")
    else
      mapfile -t COMPREPLY < <(compgen -W "$("$tool" --help 2>/dev/null |
        sed -n '/^Subcommands:/,/^$/s/^  \([a-z-]*\) .*/\1/p')" -- "$cur")
    fi
    return
  fi

  case $prev in
    --url-file | --file | --resources | --locale-dir)
      mapfile -t COMPREPLY < <(compgen -f -- "$cur")
      return
      ;;
    --charset | --from | --to | --get | --set | --type | --default-scheme | --chars | --root-volume | \
      --domain | --table | --ticks | --year | --month | --day | --hour | --minute | --second | --fraction)
      return
      ;;
  esac

  if [[ $cur == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$("$tool" "$command" --help 2>/dev/null |
      grep -o -- '--[a-z][a-z-]*' | sort -u)" -- "$cur")
  elif [[ $command == set ]]; then
    compopt -o nospace 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -W 'scheme= user= password= host= port= path= query= fragment= body=' -- "$cur")
  elif [[ $command == resources ]]; then
    mapfile -t COMPREPLY < <(compgen -f -- "$cur")
  fi
}

complete -F _vesk vesk
