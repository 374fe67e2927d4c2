# bash completion for tagvera: commands, options, files, and the property names and short names
# the library knows. Every list comes from the command itself (--help, names --json) and is kept
# for the rest of the shell session, per command and library.

declare -gA _tagvera_cache

# The lines of `tagvera ARGS...`, asked once per session.
_tagvera_ask() {
    local key="$_tagvera_key|$*"
    if [[ -z ${_tagvera_cache[$key]+set} ]]; then
        _tagvera_cache[$key]=$("$_tagvera_cmd" ${_tagvera_lib:+--library "$_tagvera_lib"} "$@" 2>/dev/null)
    fi
    printf '%s\n' "${_tagvera_cache[$key]}"
}

_tagvera_commands() {
    _tagvera_ask --help | awk '/^Commands:/ { f = 1; next } /^$/ { f = 0 } f { print $1 }'
}

# The options that come before the command: the terms of the "Options:" lines of --help.
_tagvera_global_options() {
    _tagvera_ask --help | awk '/^Options:/ { f = 1; next } /^$/ { f = 0 }
                               f { sub(/^ +/, ""); g = index($0, "  "); print g ? substr($0, 1, g - 1) : $0 }' |
        grep -oE -- '(^|[ ,])--?[a-zA-Z][-a-zA-Z0-9]*' | sed 's/^[ ,]//'
}

# A command's options, from its synopsis (the usage lines before the text that explains them).
_tagvera_options() {
    _tagvera_ask "$1" --help | awk '/^  [^ ]/ { exit } { print }' |
        grep -oE -- '(^|[][ |])--?[a-zA-Z][-a-zA-Z0-9]*' | sed 's/^[][ |]//' | sort -u
    echo --help
}

# "P NAME" for each picture property or short name of one, "T NAME" for every other, read from
# `names --json` by a tokenizer that does not care how the JSON is laid out.
_tagvera_names() {
    _tagvera_ask names --json |
        grep -oE '"([^"\\]|\\.)*"[[:space:]]*:?|[][{}]' |
        awk '
            function unquote(s) { sub(/[[:space:]]*:$/, "", s); s = substr(s, 2, length(s) - 2)
                                  gsub(/\\"/, "\"", s); gsub(/\\\\/, "\\", s); return s }
            /^[[{]$/ { path[++d] = key; key = ""; next }
            /^[]}]$/ { if (d == 3 && path[2] == "properties") type[name] = kind; d--; key = ""; next }
            /:$/ { key = unquote($0); next }
            {   v = unquote($0)
                if (d == 3 && path[2] == "properties" && key == "name") name = v
                if (d == 3 && path[2] == "properties" && key == "type") kind = v
                if (d == 2 && path[2] == "aliases") alias[key] = v
                key = "" }
            END { for (n in type) print (type[n] == "picture" ? "P " : "T ") n
                  for (a in alias) print (type[alias[a]] == "picture" ? "P " : "T ") a }' | sort -k2
}

# Splits the line up to the cursor as the shell will: _tagvera_words gets every word's value, the
# last one being the word under the cursor; _tagvera_keep is how much of that value stays in front
# of what the completion replaces (readline replaces from the last unquoted word-break character,
# or from an open quote), _tagvera_quote the quote left open.
_tagvera_split() {
    local line=$1 c word="" inword=0 i
    _tagvera_words=() _tagvera_keep=0 _tagvera_quote=""
    for ((i = 0; i < ${#line}; i++)); do
        c=${line:i:1}
        if [[ -n $_tagvera_quote ]]; then
            if [[ $c == "$_tagvera_quote" ]]; then
                _tagvera_quote=""
            elif [[ $_tagvera_quote == '"' && $c == '\' && ${line:i+1:1} == [\"\\\$\`] ]]; then
                word+=${line:i+1:1}; ((i++))
            else
                word+=$c
            fi
            continue
        fi
        case $c in
            \\) word+=${line:i+1:1}; ((i++)); inword=1 ;;
            \' | \") _tagvera_quote=$c; _tagvera_keep=${#word}; inword=1 ;;
            ' ' | $'\t') ((inword)) && _tagvera_words+=("$word"); word="" inword=0 _tagvera_keep=0 ;;
            *) word+=$c; inword=1; [[ $COMP_WORDBREAKS == *"$c"* ]] && _tagvera_keep=${#word} ;;
        esac
    done
    _tagvera_words+=("$word")
}

# Offers each of the given values that starts with the word under the cursor, written so that the
# shell reads it back as that value.
_tagvera_offer() {
    local cur=${_tagvera_words[-1]} v rest
    for v in "$@"; do
        [[ $v == "$cur"* ]] || continue
        rest=${v:_tagvera_keep}
        case $_tagvera_quote in
            '"') rest=${rest//\\/\\\\}; rest=${rest//\"/\\\"}; rest=${rest//\$/\\\$}; rest=${rest//\`/\\\`} ;;
            "'") [[ $rest == *"'"* ]] && continue ;;
            *) [[ -n $rest ]] && printf -v rest '%q' "$rest" ;;
        esac
        COMPREPLY+=("$rest")
    done
}

# Files and folders; with PREFIX ("cover=" of --picture), the file after it.
_tagvera_offer_files() {
    local prefix=${1-} f files=()
    while IFS= read -r f; do
        [[ -d $f ]] && f+=/
        files+=("$prefix$f")
    done < <(compgen -f -- "${_tagvera_words[-1]#"$prefix"}")
    _tagvera_offer "${files[@]}"
}

# Property names and short names; KIND "P" for pictures only; SUFFIX follows each ("=" after set).
_tagvera_offer_names() {
    local kind=$1 suffix=$2 k n names=()
    while read -r k n; do
        [[ $kind == P && $k != P ]] && continue
        names+=("$n$suffix")
    done < <(_tagvera_names)
    _tagvera_offer "${names[@]}"
}

_tagvera() {
    local line=${COMP_LINE-${COMP_WORDS[*]}}
    _tagvera_split "${line:0:${COMP_POINT-${#line}}}"
    COMPREPLY=()
    local _tagvera_cmd=${_tagvera_words[0]/#\~/$HOME} _tagvera_lib=${TAGVERA_LIBRARY-}
    local n=${#_tagvera_words[@]} i=1 command="" prev=""
    ((n > 1)) && prev=${_tagvera_words[n - 2]}
    # Global options come before the command, as the command takes them.
    while ((i < n - 1)); do
        case ${_tagvera_words[i]} in
            --library) _tagvera_lib=${_tagvera_words[i + 1]}; ((i += 2)); continue ;;
            --library=*) _tagvera_lib=${_tagvera_words[i]#--library=} ;;
            -*) ;;
            *) command=${_tagvera_words[i]}; break ;;
        esac
        ((i++))
    done
    local _tagvera_key="$_tagvera_cmd|$_tagvera_lib" cur=${_tagvera_words[-1]} commands options

    if [[ -z $command ]]; then
        if [[ $prev == --library ]]; then
            _tagvera_offer_files
        elif [[ $cur == -* ]]; then
            mapfile -t options < <(_tagvera_global_options)
            _tagvera_offer "${options[@]}"
        else
            mapfile -t commands < <(_tagvera_commands)
            _tagvera_offer "${commands[@]}"
        fi
    elif [[ $cur == -* ]]; then
        mapfile -t options < <(_tagvera_options "$command")
        _tagvera_offer "${options[@]}"
    else
        local positional=() j
        for ((j = i + 1; j < n - 1; j++)); do
            [[ ${_tagvera_words[j]} == -* || ${_tagvera_words[j - 1]} == --picture || ${_tagvera_words[j - 1]} == -o ]] ||
                positional+=("${_tagvera_words[j]}")
        done
        case $command:$prev in
            *:-o | *:--library) _tagvera_offer_files ;;
            *:--picture)
                if [[ $cur == *=* ]]; then
                    _tagvera_offer_files "${cur%%=*}="
                else
                    _tagvera_offer_names P =
                fi ;;
            tree:--to) _tagvera_offer xml block ;;
            tree:--byte-order) _tagvera_offer little big ;;
            set:*)
                [[ $cur == *=* ]] && return
                _tagvera_offer_names "" =
                _tagvera_offer_files ;;
            rm:*)
                _tagvera_offer_names "" ""
                _tagvera_offer_files ;;
            extract:*)
                if ((${#positional[@]} == 1)); then _tagvera_offer_names "" ""; else _tagvera_offer_files; fi ;;
            *) _tagvera_offer_files ;;
        esac
    fi
    # A name to be followed by its value, or a folder to be gone into, takes no space after it.
    local r
    for r in "${COMPREPLY[@]}"; do
        [[ $r == *[=/] ]] && compopt -o nospace 2>/dev/null && break
    done
    return 0
}

complete -F _tagvera tagvera
