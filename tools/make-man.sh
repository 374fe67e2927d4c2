#!/usr/bin/env bash
# Writes the tagvera(1) man page from the built command's own help texts, so the page says what
# the command says: make-man.sh TAGVERA OUTPUT [VERSION]
set -euo pipefail
tagvera=$1
out=$2
version=${3:-}

# Text as roff: backslashes kept, a leading dot or quote not taken for a request, and every
# hyphen a minus so that options copied from the page work.
roff() { sed -e 's/\\/\\e/g' -e 's/-/\\-/g' -e "s/^\\([.']\\)/\\\\\\&\\1/"; }

# The lines of a section of `tagvera --help`: from the line HEADER to the next blank line.
help_section() { awk -v h="$1" '$0 == h { f = 1; next } /^$/ { f = 0 } f'; }

# "  term   text" lines (a short term from an option or a word, then two blanks or more) as
# tagged paragraphs, any other line as running text.
terms_and_text() {
    awk '{ sub(/^ +/, ""); gap = index($0, "  ") }
         gap > 1 && gap <= 30 && /^[-a-z]/ {
             text = substr($0, gap); sub(/^ +/, "", text)
             print "\001"; print "\002" substr($0, 1, gap - 1); print text; next }
         { print }' | roff | sed -e 's/^\x01$/.TP/' -e 's/^\x02\(.*\)$/.B "\1"/'
}

# A usage text's synopsis: its first line and those that continue it, each new form (a line that
# starts at the margin) on a line of its own; the text after it starts with two blanks.
synopsis() {
    awk 'NR == 1 { sub(/^usage: /, "") } /^  [^ ]/ { exit }
         /^[^ ]/ { sub(/^tagvera /, ""); if (NR > 1) print "\002"; print "\001"; print; next }
         { sub(/^ +/, ""); print }' | roff | sed -e 's/^\x01$/.B tagvera/' -e 's/^\x02$/.br/'
}

help=$("$tagvera" --help)
commands=$(help_section "Commands:" <<<"$help" | awk '{ print $1 }')
[ -n "$commands" ] || { echo "make-man: no commands in '$tagvera --help'" >&2; exit 1; }

{
    printf '.TH TAGVERA 1 "" "tagvera %s" "User Commands"\n' "$version"
    printf '.nh\n.ad l\n'
    echo '.SH NAME'
    echo 'tagvera \- read and write the metadata of media files'
    echo '.SH SYNOPSIS'
    awk '/^$/ { exit } { sub(/^ +/, ""); print }' <<<"$help" | synopsis
    echo '.SH DESCRIPTION'
    awk 'NR > 2 && /^$/ { n++; next } n == 1' <<<"$help" | roff
    echo 'Each command reads files through the importer the library picks by extension; writes keep'
    echo 'every property they were not asked to change, and a failure leaves a file as it was.'
    echo '.SS Options'
    echo 'These come before the command.'
    help_section "Options:" <<<"$help" | terms_and_text
    echo '.SH COMMANDS'
    for c in $commands; do
        text=$("$tagvera" "$c" --help)
        echo ".SS $c"
        help_section "Commands:" <<<"$help" | awk -v c="$c" '$1 == c { $1 = ""; sub(/^ +/, ""); print }' | roff
        echo '.PP'
        synopsis <<<"$text"
        echo '.PP'
        awk '/^  [^ ]/ { f = 1 } f' <<<"$text" | terms_and_text
    done
    echo '.SH EXIT STATUS'
    sed -n 's/^Exit status: //p' <<<"$help" | tr ',' '\n' | sed -e 's/^ *//' -e 's/\.$//' |
        awk '{ n = $1; $1 = ""; sub(/^ /, ""); print ".TP"; print ".B " n; print $0 }'
    cat <<'EOF'
.SH ENVIRONMENT
.TP
.B TAGVERA_LIBRARY
The libtagvera to load when \-\-library is not given; else the installed one, found by its soname.
.TP
.B TAGVERA_PREFERENCES
The preferences file (a full path) that
.B tagvera prefs
reads and changes and the library reads when it reads and writes tags.
.TP
.B XDG_CONFIG_HOME
Where the preferences file is when TAGVERA_PREFERENCES is not set.
.SH FILES
.TP
.I $XDG_CONFIG_HOME/tagvera/preferences
or
.I ~/.config/tagvera/preferences
when XDG_CONFIG_HOME is not set: the preferences ("TagEditID3V1", "TagEditID3V2", "TagEditKorvaOne", "TagReadPriority" and the
rest), as
.B tagvera prefs list
shows them; a missing file or value means the default.
.TP
.I libtagvera.so
The plug-in package that does the reading and writing, found in the lib folder beside the command's bin folder.
.SH EXAMPLES
Show what two files hold, then list the property names and their short names:
.PP
.RS
.nf
tagvera info song.mp3 clip.kmj
tagvera names mp3
.fi
.RE
.PP
Set a title and a track number by their short names, first to see every change the
write would make, then for good:
.PP
.RS
.nf
tagvera set \-\-dry\-run song.mp3 title="Blue in Green" track=3
tagvera set song.mp3 title="Blue in Green" track=3
.fi
.RE
.PP
Set an album in every file in a folder, print a title, remove the comments:
.PP
.RS
.nf
tagvera set \-r music/ "Album:Name=Kind of Blue"
tagvera extract song.mp3 Track:Name \-o \-
tagvera rm song.mp3 Track:Comments
.fi
.RE
EOF
} >"$out.tmp"
mv "$out.tmp" "$out"
