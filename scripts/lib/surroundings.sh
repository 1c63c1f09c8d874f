# Runs the tests of times and formats again in other zones and languages. To be sourced after results.sh.

# A locale of the C library, made in the build folder: nothing of the machine is changed.
make_locale() { # language, character set
    local folder="$root/build/locales" name=$1.$2 made
    [ ! -e "$folder/$name" ] || return 0
    mkdir -p "$folder"
    made=$(mktemp -d "$folder/making.XXXXXX")
    localedef -i "$1" -f "$2" --no-archive "$made/$name"
    mv -T "$made/$name" "$folder/$name" 2>/dev/null || [ -e "$folder/$name" ]
    rm -rf "$made"
}

# The suites of tests/time, those of tests/platform that speak of calendar times, and that which reads local times.
time_suites() {
    local files
    mapfile -t files < <(grep -lE '\b(SYSTEMTIME|LCID|LOCALE_[A-Z]+)\b' tests/platform/*.cpp tests/platform/linux/*.cpp && ls tests/time/*.cpp tests/data/DataFilterTest.cpp)
    sed -nE 's/^(TYPED_)?TEST(_F|_P)?\(([A-Za-z0-9_]+),.*/\3.*:\3\/*:*\/\3.*/p' "${files[@]}" | sort -u | paste -s -d :
}

# Calls a function in each surrounding, with a label and the test program's filter:
# in_each_surrounding FUNCTION [ARGUMENT...]
in_each_surrounding() {
    local filter zone language
    local -x LOCPATH=$root/build/locales # beforehand, since the shell itself takes up LC_ALL at once
    filter=--gtest_filter=$(time_suites)
    make_locale de_DE UTF-8
    make_locale de_DE ISO-8859-1
    for zone in UTC Europe/Berlin Australia/Lord_Howe America/New_York; do
        for language in C de_DE.UTF-8; do
            TZ=$zone LC_ALL=$language "$@" "${zone//\//-}-$language" "$filter"
        done
    done
}
