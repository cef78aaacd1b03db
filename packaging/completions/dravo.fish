# Completion for fish. The program itself says what there is: it answers within milliseconds, and nothing here can fall
# behind its command table.

function __dravo_command --description 'The command on the line, if it is there already'
    for word in (commandline --tokenize --cut-at-cursor --current-process)[2..-1]
        string match --quiet -- '-*' $word; or begin
            echo $word
            return
        end
    end
end

function __dravo_commands
    dravo help 2>/dev/null | awk '/^Commands:/ { on = 1; next } /^$/ { on = 0 }
        on { name = $1; $1 = ""; print name "\t" substr($0, 2) }'
end

function __dravo_options
    dravo help (__dravo_command) 2>/dev/null | awk '/^Options:/ { on = 1; next }
        on { name = $1 ~ /^--/ ? $1 : $2; sub(/^ *(-h, )?--[a-z-]+( [A-Z-]+)? +/, ""); print name "\t" $0 }'
end

function __dravo_takes --description 'Whether the command on the line takes that kind of operand'
    set --local command (__dravo_command)
    test -n "$command"; and dravo help $command 2>/dev/null | sed -n '/^$/q;p' | string match --quiet --regex -- $argv[1]
end

function __dravo_values --description 'The words that the command on the line takes as they are'
    dravo help (__dravo_command) 2>/dev/null | sed -n '/^$/q;s/^.*dravo [a-z]*//p' | tr '[]| ' '\n' |
        sed -n 's/^\([a-z0-9][a-z0-9-]*=\{0,1\}\)X\{0,1\}$/\1/p'
end

function __dravo_is_option
    test -n (__dravo_command)""; and string match --quiet -- '-*' (commandline --current-token)
end

complete -c dravo --no-files
complete -c dravo -n 'test -z (__dravo_command)""' -a '(__dravo_commands)'
complete -c dravo -n 'test -z (__dravo_command)""' -l autostart -d 'Filter in the background, for a start at login'
complete -c dravo -n 'test -z (__dravo_command)""' -l headless -d 'Filter in the foreground, without any window'
complete -c dravo -n 'test -z (__dravo_command)""' -l help -d 'Show the help'
complete -c dravo -n 'test -z (__dravo_command)""' -l version -d 'Show the version'
complete -c dravo -n __dravo_is_option -a '(__dravo_options)'
complete -c dravo -n '__dravo_takes COMMAND' -a '(__dravo_commands)'
complete -c dravo -n 'test -n (__dravo_command)""' -a '(__dravo_values)'
complete -c dravo -n '__dravo_takes "PRESET|\[ID\]"' -a '(dravo presets 2>/dev/null | awk "{ print \$1 }")'
complete -c dravo -n '__dravo_takes "PRESET|FILE|OUT.png"' --force-files
