#compdef tarvel
local -a panels=(cpu memory energy fans temperatures voltages powers currents)
local -a readings=(CPUAppUsage MEMAppUsage EnergyAppUsage FanSpeedValues TempValues VoltageValues PowerValues CurrentValues)
if (( CURRENT == 2 )); then
  _values command watch window panels show flag alias request defaults doctor record export
  return
fi
case $words[2] in
  watch) _arguments '*:: :' '--once' '--json' '--line' '--format:format:(plain tmux waybar i3blocks)' '--text:text:' '--no-helper' ;;
  window) _arguments '*:: :' '--page:page:(overview processes sensors panels)' '--hidden' '--no-helper' ;;
  panels) if (( CURRENT == 3 )); then _values action on off; else _values -s ' ' panel $panels; fi ;;
  show) _values reading $readings ;;
  flag | alias)
    if (( CURRENT == 3 )); then
      _values reading $readings
    elif (( CURRENT == 4 )); then
      local -a sensors=(${(f)"$(tarvel show $words[3] --json 2>/dev/null | grep -o '"name":"[^"]*"' | cut -d'"' -f4)"})
      compadd -a sensors
    elif [[ $words[2] == flag ]]; then
      _values flag 0 1
    fi ;;
  request) _arguments '*:: :' '1:request:(updates uninstall clear-sensors)' '--yes' ;;
  defaults) if (( CURRENT == 3 )); then _values action read write delete; else _values key $readings Panels; fi ;;
  record) _files ;;
  export) _arguments '--textfile:file:_files' '--listen:address:' '--by-pid' '--no-helper' ;;
esac
