#compdef tarvel
local -a panels=(cpu memory energy fans temperatures voltages powers currents)
local -a readings=(CPUAppUsage MEMAppUsage EnergyAppUsage FanSpeedValues TempValues VoltageValues PowerValues CurrentValues)
if (( CURRENT == 2 )); then
  _values command watch panels show flag request defaults doctor record export
  return
fi
case $words[2] in
  watch) _arguments '*:: :' '--once' '--json' '--line' '--format:format:(plain tmux waybar i3blocks)' '--no-helper' ;;
  panels) if (( CURRENT == 3 )); then _values action on off; else _values -s ' ' panel $panels; fi ;;
  show) _values reading $readings ;;
  flag) (( CURRENT == 3 )) && _values reading $readings ;;
  request) _values request updates uninstall clear-sensors ;;
  defaults) if (( CURRENT == 3 )); then _values action read write delete; else _values key $readings Panels; fi ;;
  record) _files ;;
  export) _arguments '--textfile:file:_files' '--listen:address:' ;;
esac
