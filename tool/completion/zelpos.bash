# bash completion for zelpos, made by 'zelpos completion bash'
_zelpos() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} words=
  if [ "$before" = = ]; then before=${COMP_WORDS[COMP_CWORD-2]}; fi
  if [ "$word" = = ]; then word=; fi
  if [ "$COMP_CWORD" -eq 1 ]; then
    COMPREPLY=($(compgen -W 'print get tree stats diff set delete validate check-schema convert format help --help --version' -- "$word"))
    return
  fi
  if [ "${COMP_WORDS[1]}" = help ]; then
    COMPREPLY=($(compgen -W 'print get tree stats diff set delete validate check-schema convert format ' -- "$word"))
    return
  fi
  case ${COMP_WORDS[1]}:$before in
    print:--color) COMPREPLY=($(compgen -W 'always auto never' -- "$word")); return ;;
    print:--from) COMPREPLY=($(compgen -W 'json stream text' -- "$word")); return ;;
    print:*) words='--help --color --compact --json --quiet --from ' ;;
    get:--color) COMPREPLY=($(compgen -W 'always auto never' -- "$word")); return ;;
    get:--from) COMPREPLY=($(compgen -W 'json stream text' -- "$word")); return ;;
    get:*) words='--help --color --raw --compact --json --quiet --from ' ;;
    tree:--color) COMPREPLY=($(compgen -W 'always auto never' -- "$word")); return ;;
    tree:--from) COMPREPLY=($(compgen -W 'json stream text' -- "$word")); return ;;
    tree:*) words='--help --color --depth --from ' ;;
    stats:--color) COMPREPLY=($(compgen -W 'always auto never' -- "$word")); return ;;
    stats:--from) COMPREPLY=($(compgen -W 'json stream text' -- "$word")); return ;;
    stats:*) words='--help --color --from ' ;;
    diff:--color) COMPREPLY=($(compgen -W 'always auto never' -- "$word")); return ;;
    diff:--from) COMPREPLY=($(compgen -W 'json stream text' -- "$word")); return ;;
    diff:*) words='--help --color --stat --quiet --from ' ;;
    set:--color) COMPREPLY=($(compgen -W 'always auto never' -- "$word")); return ;;
    set:--to) COMPREPLY=($(compgen -W 'json stream text' -- "$word")); return ;;
    set:--from) COMPREPLY=($(compgen -W 'json stream text' -- "$word")); return ;;
    set:*) words='--help --color --string --output --to --from ' ;;
    delete:--color) COMPREPLY=($(compgen -W 'always auto never' -- "$word")); return ;;
    delete:--to) COMPREPLY=($(compgen -W 'json stream text' -- "$word")); return ;;
    delete:--from) COMPREPLY=($(compgen -W 'json stream text' -- "$word")); return ;;
    delete:*) words='--help --color --output --to --from ' ;;
    validate:--color) COMPREPLY=($(compgen -W 'always auto never' -- "$word")); return ;;
    validate:--format) COMPREPLY=($(compgen -W 'json sarif text' -- "$word")); return ;;
    validate:--from) COMPREPLY=($(compgen -W 'json stream text' -- "$word")); return ;;
    validate:*) words='--help --color --format --all --quiet --from ' ;;
    check-schema:--color) COMPREPLY=($(compgen -W 'always auto never' -- "$word")); return ;;
    check-schema:--format) COMPREPLY=($(compgen -W 'json sarif text' -- "$word")); return ;;
    check-schema:--from) COMPREPLY=($(compgen -W 'json stream text' -- "$word")); return ;;
    check-schema:*) words='--help --color --format --all --quiet --from ' ;;
    convert:--color) COMPREPLY=($(compgen -W 'always auto never' -- "$word")); return ;;
    convert:--to) COMPREPLY=($(compgen -W 'json stream text' -- "$word")); return ;;
    convert:--from) COMPREPLY=($(compgen -W 'json stream text' -- "$word")); return ;;
    convert:*) words='--help --color --output --to --compact --from ' ;;
    format:--color) COMPREPLY=($(compgen -W 'always auto never' -- "$word")); return ;;
    format:*) words='--help --color --check --output --quiet ' ;;
  esac
  if [[ $word == -* ]]; then
    COMPREPLY=($(compgen -W "$words" -- "$word"))
  else
    COMPREPLY=($(compgen -f -- "$word"))
  fi
}
complete -o filenames -F _zelpos zelpos
