# fish completion for the vantaquill command
set -l commands notify end shelf agent status open hook doctor

complete -c vantaquill -f
complete -c vantaquill -l port -x -d "Port of the island's local API"
complete -c vantaquill -n "not __fish_seen_subcommand_from $commands" -a notify -d "Show or update a live activity"
complete -c vantaquill -n "not __fish_seen_subcommand_from $commands" -a end -d "End a live activity"
complete -c vantaquill -n "not __fish_seen_subcommand_from $commands" -a shelf -d "Work with the file shelf"
complete -c vantaquill -n "not __fish_seen_subcommand_from $commands" -a agent -d "Agent sessions and approvals"
complete -c vantaquill -n "not __fish_seen_subcommand_from $commands" -a status -d "Tell whether the island is running"
complete -c vantaquill -n "not __fish_seen_subcommand_from $commands" -a open -d "Carry out a vantaquill:// URL"
complete -c vantaquill -n "not __fish_seen_subcommand_from $commands" -a hook -d "Forward a coding agent's hook payload"
complete -c vantaquill -n "not __fish_seen_subcommand_from $commands" -a doctor -d "Report what works on this desktop"

complete -c vantaquill -n "__fish_seen_subcommand_from notify" -l id -x -d "Activity id"
complete -c vantaquill -n "__fish_seen_subcommand_from notify" -l title -x -d "Main line"
complete -c vantaquill -n "__fish_seen_subcommand_from notify" -l subtitle -x -d "Second line"
complete -c vantaquill -n "__fish_seen_subcommand_from notify" -l symbol -x -d "Leading symbol"
complete -c vantaquill -n "__fish_seen_subcommand_from notify" -l progress -x -d "Progress from 0 to 1"
complete -c vantaquill -n "__fish_seen_subcommand_from notify" -l priority -x -a "ambient normal important critical"
complete -c vantaquill -n "__fish_seen_subcommand_from notify" -l expires-in -x -d "Seconds until it goes away"

complete -c vantaquill -n "__fish_seen_subcommand_from shelf; and not __fish_seen_subcommand_from add" -a add -d "Add files to the shelf"
complete -c vantaquill -n "__fish_seen_subcommand_from shelf; and __fish_seen_subcommand_from add" -F

complete -c vantaquill -n "__fish_seen_subcommand_from agent; and not __fish_seen_subcommand_from approve event" -a approve -d "Ask for approval"
complete -c vantaquill -n "__fish_seen_subcommand_from agent; and not __fish_seen_subcommand_from approve event" -a event -d "Report an event"
complete -c vantaquill -n "__fish_seen_subcommand_from approve event" -l session -x -d "Session id"
complete -c vantaquill -n "__fish_seen_subcommand_from approve event" -l command -x -d "Command"
complete -c vantaquill -n "__fish_seen_subcommand_from approve event" -l name -x -d "Name shown in the island"
complete -c vantaquill -n "__fish_seen_subcommand_from event" -l event -x -d "Event name"
complete -c vantaquill -n "__fish_seen_subcommand_from event" -l message -x -d "Message"
complete -c vantaquill -n "__fish_seen_subcommand_from event" -l tool -x -d "Tool name"
complete -c vantaquill -n "__fish_seen_subcommand_from event" -l cwd -x -a "(__fish_complete_directories)"
complete -c vantaquill -n "__fish_seen_subcommand_from event" -l progress -x -d "Progress from 0 to 1"

complete -c vantaquill -n "__fish_seen_subcommand_from open" -x -a "vantaquill://open/shelf vantaquill://settings vantaquill://clipboard vantaquill://notify?title="
complete -c vantaquill -n "__fish_seen_subcommand_from hook" -l agent -x -a "claude-code codex gemini cursor"
complete -c vantaquill -n "__fish_seen_subcommand_from hook" -l event -x -d "Hook event name"
