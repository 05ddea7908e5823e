# bash completion for tarvel
_tarvel() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} words
  local panels='cpu memory energy fans temperatures voltages powers currents'
  local readings='CPUAppUsage MEMAppUsage EnergyAppUsage FanSpeedValues TempValues VoltageValues PowerValues CurrentValues'
  case ${COMP_WORDS[1]} in
    watch)
      case $before in
        --format) words='plain tmux waybar i3blocks' ;;
        --text) words="'{cpu}% {mem} {temp:max} {fan} {battery}'" ;;
        *) words='--once --json --line --format --text --no-helper --help' ;;
      esac ;;
    panels) if [ "$COMP_CWORD" -eq 2 ]; then words='on off --json --help'; else words=$panels; fi ;;
    show) words="$readings --json --help" ;;
    flag | alias)
      # Sensors have blanks in their names, so they are completed apart, one a line.
      if [ "$COMP_CWORD" -eq 2 ]; then
        words=$readings
      elif [ "$COMP_CWORD" -eq 3 ]; then
        mapfile -t COMPREPLY < <(tarvel show "${COMP_WORDS[2]}" --json 2>/dev/null |
          grep -o '"name":"[^"]*"' | cut -d'"' -f4 | grep -F -- "${word#[\"\']}" | sed "s/.*/'&'/")
        return
      elif [ "${COMP_WORDS[1]}" = flag ]; then
        words='0 1'
      fi ;;
    request) words='updates uninstall clear-sensors --yes' ;;
    defaults)
      if [ "$COMP_CWORD" -eq 2 ]; then words='read write delete'; else words="$readings Panels --json --raw --data"; fi ;;
    window)
      if [ "$before" = --page ]; then words='overview processes sensors panels'; else words='--page --hidden --no-helper --help'; fi ;;
    doctor) words='--json --sensors --help' ;;
    record) words='--cycles --help' ;;
    export) words='--textfile --listen --by-pid --no-helper --help' ;;
    *) [ "$COMP_CWORD" -ne 1 ] || words='watch window panels show flag alias request defaults doctor record export --help --version' ;;
  esac
  if [ "$before" = --data ] || [ "$before" = --textfile ] || [ "$before" = record ]; then
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
  else
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
  fi
}
complete -F _tarvel tarvel
