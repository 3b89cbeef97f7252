# Completion of mediadata for bash. The tool itself knows what may stand where, and needs no telephone for it.
_mediadata() {
    local line=${COMP_LINE:0:COMP_POINT} breaks=${COMP_WORDBREAKS//[^=:]/} kind=-f word each rest
    local tool=${COMP_WORDS[0]/#\~/$HOME}
    local -a answers values
    word=${line##*[[:space:]]}
    mapfile -t answers < <("$tool" complete --line "$line" 2>/dev/null)
    COMPREPLY=()
    if [[ ${answers[0]} == :* ]]; then
        [[ ${answers[0]} == :directory ]] && kind=-d
        [[ $word == --*=* && $breaks == *=* ]] && word=${word#*=}
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen "$kind" -- "$word")
        return
    fi
    [[ ${answers[0]} == *= ]] && compopt -o nospace 2>/dev/null
    if [[ $word == [\"\']* ]]; then
        # Inside quotes the word is one, and bash would close them behind a single answer.
        if [[ ${#answers[@]} -eq 1 && ${answers[0]} == *= ]]; then
            mapfile -t values < <("$tool" complete --line "${line%"$word"}'${answers[0]}" 2>/dev/null)
            ((${#values[@]} > 1)) && answers=("${values[@]}")
        fi
        COMPREPLY=("${answers[@]}")
        return
    fi
    # Outside quotes bash cuts the word at "=" and ":" and wants only what follows.
    for each in "${answers[@]}"; do
        rest=$word
        while [[ $breaks && $rest == *["$breaks"]* ]]; do
            rest=${rest#*["$breaks"]}
            each=${each#*["$breaks"]}
        done
        printf -v each %q "$each"
        COMPREPLY+=("$each")
    done
}
complete -F _mediadata mediadata
