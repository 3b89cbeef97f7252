# Completion of mediadata for fish. The tool itself knows what may stand where, and needs no telephone for it.
function __mediadata_complete
    set -l words (commandline -opc)
    set words[1] (string replace -r -- '^~' "$HOME" "$words[1]")
    # Without the quotes and backslashes that fish reads; an open quote is no whole word.
    set -l typed (commandline -ct)
    set -l word (string unescape -- "$typed"; or string replace -r -- '^["\']' '' "$typed")
    set -l option (string match -r -- '^--[^=]*=' "$word")
    set -l path (string replace -- "$option" '' "$word")
    set -l answers ($words[1] complete --described -- $words[2..-1] "$word" 2>/dev/null)
    switch "$answers[1]"
        case :file
            printf "$option%s\n" (__fish_complete_path "$path")
        case :directory
            printf "$option%s\n" (__fish_complete_directories "$path")
        case '*'
            printf '%s\n' $answers
    end
end
complete -c mediadata -f -a '(__mediadata_complete)'
