# fish completion for tarvel
set -l commands watch window panels show flag alias request defaults doctor record export
set -l readings CPUAppUsage MEMAppUsage EnergyAppUsage FanSpeedValues TempValues VoltageValues PowerValues CurrentValues
complete -c tarvel -f
complete -c tarvel -n "not __fish_seen_subcommand_from $commands" -a "$commands"
complete -c tarvel -n "__fish_seen_subcommand_from watch" -l once -l json -l line -l no-helper
complete -c tarvel -n "__fish_seen_subcommand_from watch" -l format -x -a "plain tmux waybar i3blocks"
complete -c tarvel -n "__fish_seen_subcommand_from watch" -l text -x
complete -c tarvel -n "__fish_seen_subcommand_from window" -l hidden -l no-helper
complete -c tarvel -n "__fish_seen_subcommand_from window" -l page -x -a "overview processes sensors panels"
complete -c tarvel -n "__fish_seen_subcommand_from panels" -a "on off cpu memory energy fans temperatures voltages powers currents"
complete -c tarvel -n "__fish_seen_subcommand_from show flag alias" -a "$readings"
complete -c tarvel -n "__fish_seen_subcommand_from request" -l yes -a "updates uninstall clear-sensors"
complete -c tarvel -n "__fish_seen_subcommand_from defaults" -a "read write delete"
complete -c tarvel -n "__fish_seen_subcommand_from record" -F
complete -c tarvel -n "__fish_seen_subcommand_from export" -l textfile -r -F
complete -c tarvel -n "__fish_seen_subcommand_from export" -l listen -x
complete -c tarvel -n "__fish_seen_subcommand_from export" -l by-pid -l no-helper
