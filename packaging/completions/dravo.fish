# Completion for fish. The program itself says what there is: it answers within milliseconds, and nothing here can fall
# behind its command table.

function __dravo_offers
    set --local words (commandline --tokenize --cut-at-cursor --current-process)
    set --local current (commandline --current-token --cut-at-cursor)
    for offer in ($words[1] --complete $words[2..-1] "$current" 2>/dev/null)
        if test $offer = :files
            __fish_complete_path $current
        else
            echo $offer
        end
    end
end

complete -c dravo --no-files -a '(__dravo_offers)'
