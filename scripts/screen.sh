# Windows of Wine programs on a screen. Sourced after lib.sh, never run. $screen is the size, as in 1024x768.

set_desktop() {
    local log=$prefix/desktop.log colour
    : >"$log"
    use_wine_prefix "$prefix"
    set_wine_value "$log" 'HKCU\Software\Wine\Explorer' Desktop Demo || return
    set_wine_value "$log" 'HKCU\Software\Wine\Explorer\Desktops' Demo "$screen" || return
    for colour in "Background=214 223 232" "ActiveTitle=16 110 190" "GradientActiveTitle=16 110 190" \
        "TitleText=255 255 255" "InactiveTitle=140 160 180" "GradientInactiveTitle=140 160 180" \
        "InactiveTitleText=240 240 240"; do
        set_wine_value "$log" 'HKCU\Control Panel\Colors' "${colour%=*}" "${colour#*=}" || return
    done
}

# A prefix whose windows are drawn by Wine itself, on a desktop of its own: no window manager is needed.
make_screen_prefix() {
    "$root/scripts/wine-prefix" "$prefix" --screen
    [ -f "$prefix/.desktop" ] && return 0
    # The symbols of the caption's buttons; Debian's Wine does not find them by itself.
    local symbols=/usr/share/wine/fonts/marlett.ttf
    [ ! -f "$symbols" ] || cp "$symbols" "$prefix/drive_c/windows/Fonts/"
    (set_desktop) || { cat "$prefix/desktop.log" >&2; die "the desktop could not be set up"; }
    end_wine "$prefix"
    touch "$prefix/.desktop"
}

# run_under_xvfb COMMAND [ARGUMENT...]: replaces the script by the command, which gets a screen that nobody sees.
run_under_xvfb() { exec xvfb-run --auto-servernum --server-args="-screen 0 ${screen}x24" "$@"; }

# take_picture NAME WIDTHxHEIGHT+LEFT+TOP: the program waits for the file, so it appears only when it is whole.
take_picture() {
    local geometry=${2%$'\r'}
    import -window root -crop "$geometry" +repage -strip "png:$pictures/.$1" && mv "$pictures/.$1" "$pictures/$1.png"
}

# play LIMIT PROGRAM [ARGUMENT...]: follow_wine; takes the pictures that the program asks for.
play() {
    follow_wine "$@" | while IFS= read -r line; do
        case $line in
            "@picture "*) read -r _ name geometry <<<"$line"; take_picture "$name" "$geometry" ;;
            *) printf '%s\n' "$line" ;;
        esac
    done
}
