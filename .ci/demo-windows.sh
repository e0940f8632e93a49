# Sourced by demo.sh: how the demo runs for Windows. The programs are those of the product, unpacked from its zip and run
# under Wine with no other libraries; settings stand in the registry of a Wine prefix of the demo's own.

demo="$root/build/demo-windows"
suite="$demo/product"
release_1=release-1
release_2=../windows-package/suite-2
export RUN_UNDER_WINE_PREFIX="$demo/wine"
wine=("$root/cmake/windows/run-under-wine" --alone)
vcore=("${wine[@]}" "$suite/VCore.exe")
norvale=("${wine[@]}" "$suite/norvale.exe")
deltas=() # this program makes none
system='C:\windows\system32'

build_all() {
    # shellcheck disable=SC2086
    need $packages_demo
    build_for_windows windows-package
}

# What an administrator does: unpacks the product, and has it note its folder. The suite that is in it is laid aside, as the
# demo installs it from packages.
set_up_machine() {
    local name
    "${wine[@]}" --init
    data=$(echo "$RUN_UNDER_WINE_PREFIX"/drive_c/users/*/AppData/Local)
    mkdir -p run "$release_1"
    name=$(sed -nE 's/^set\(CPACK_PACKAGE_FILE_NAME "(.*)"\)/\1/p' ../windows-package/CPackConfig.cmake)
    unzip -q "../windows-package/packages/$name.zip"
    mv "$name" "$suite"
    mv "$suite/plugins" "$release_1"
    title "Setting up the product"
    say "$name.zip is unpacked in $(short "$suite"). Its settings stand in the registry of Wine."
    typed use-this-folder
    "${wine[@]}" "$system\\cmd.exe" /c "Z:$suite/use-this-folder.cmd" | indented
    "${wine[@]}" "$system\\reg.exe" add 'HKLM\SOFTWARE\Varkel\Pelmora\ConfigMgr' /v Locale /d de_DE /f >/dev/null
    typed reg query 'HKLM\SOFTWARE\Varkel' /s
    machine_settings | indented
}

leave_machine() { [ ! -d "$RUN_UNDER_WINE_PREFIX" ] || "${wine[@]}" --stop; }

machine_settings() { "${wine[@]}" "$system\\reg.exe" query 'HKLM\SOFTWARE\Varkel' /s | tr -d '\r' | grep .; }

# Lines here; the bar needs a console, which the demo does not make for it.
show_progress() { show_in_lines "$@"; }
