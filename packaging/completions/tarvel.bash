# bash completion for tarvel
_tarvel() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} words
  local panels='cpu memory energy fans temperatures voltages powers currents'
  local readings='CPUAppUsage MEMAppUsage EnergyAppUsage FanSpeedValues TempValues VoltageValues PowerValues CurrentValues'
  case ${COMP_WORDS[1]} in
    watch) words='--once --json --line --format --no-helper --help' ;;
    panels) if [ "$COMP_CWORD" -eq 2 ]; then words='on off --json --help'; else words=$panels; fi ;;
    show) words="$readings --json --help" ;;
    flag) [ "$COMP_CWORD" -ne 2 ] || words=$readings ;;
    request) words='updates uninstall clear-sensors' ;;
    defaults)
      if [ "$COMP_CWORD" -eq 2 ]; then words='read write delete'; else words="$readings Panels --json --raw --data"; fi ;;
    doctor) words='--json --sensors --help' ;;
    record) words='--cycles --help' ;;
    export) words='--textfile --listen --help' ;;
    *) [ "$COMP_CWORD" -ne 1 ] || words='watch panels show flag request defaults doctor record export --help --version' ;;
  esac
  if [ "$before" = --data ] || [ "$before" = --textfile ] || [ "$before" = record ]; then
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
  else
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
  fi
}
complete -F _tarvel tarvel
