#!/usr/bin/env bash
# Installs the packages into a clean root, runs the programs from there, removes the packages and
# looks whether anything is left.
#
#     clean-root.sh system|folder|best PACKAGES WORK
#
# PACKAGES: the folder with the packages. WORK: an empty folder, emptied again.
#
# system: the root is this machine's system under an overlay: the packages' dependencies, scripts and
#         triggers are the real ones, and nothing of the machine is changed. Needs root, and a kernel
#         that lets root mount.
# folder: the root is a folder with nothing in it. The dependencies are not looked at, and the
#         programs find their library by LD_LIBRARY_PATH. Needs no rights.
# best:   the first one, where it is to be had, else the second.
set -euo pipefail

fail() { echo "clean-root.sh: $*" >&2; exit 1; }

way=$1 packages=$2 work=$3

enter_system() {
    [ "$(id -u)" -eq 0 ] || return 1
    unshare --mount --pid --fork --kill-child "$@"
}

if [ "$way" = best ]; then
    # "probe" makes the root and does nothing in it.
    if enter_system "$0" probe "$packages" "$work" 2>/dev/null; then way=system; else way=folder; fi
fi
if [ "$way" = system ]; then
    # What it leaves running ends with it.
    enter_system "$0" inside "$packages" "$work" || fail "the way 'system' failed"
    exit 0
fi
if [ "$way" = folder ] && [ "$(id -u)" -ne 0 ] && [ -z "${FAKEROOTKEY:-}" ]; then
    exec fakeroot -- "$0" "$@"
fi

root=$work/root
names=(logdesk zulogsvc zulog libzulog1 libzulog-dev)
started=()
finish() {
    for process in "${started[@]}"; do
        kill "$process" 2>/dev/null || true
    done
    [ "$way" != folder ] || rm -rf "${work:?}"/*
}
trap finish EXIT

### The two roots

# Mounts that end with this process.
make_system() {
    mount --make-rprivate /
    mount -t tmpfs tmpfs "$work"
    mkdir "$root" "$work/changes"
    # The folders that are file systems of their own on some machines.
    local folder name
    for folder in / /usr /etc /var; do
        [ "$folder" = / ] || mountpoint -q "$folder" || continue
        name=${folder//\//_}
        mkdir "$work/changes/$name" "$work/work$name"
        mount -t overlay overlay "$root$folder" \
            -o "lowerdir=$folder,upperdir=$work/changes/$name,workdir=$work/work$name"
    done
    mount -t proc proc "$root/proc"
    mount --rbind /dev "$root/dev"
    for folder in /dev/shm /tmp /run; do
        mount -t tmpfs -o mode=1777 tmpfs "$root$folder"
    done
    in_root true
    mkdir -p "$root/run/systemd/system" "$root/tmp/systemd"
    for name in systemctl deb-systemd-invoke; do
        printf '#!/bin/sh\necho "%s $*" >> /tmp/requests\n' "$name" > "$root/tmp/systemd/$name"
    done
    chmod +x "$root"/tmp/systemd/*
}

# What the package manager, and the administrator's command, expect of a system.
make_folder() {
    mkdir -p "$root"/{tmp,var/lib/dpkg/{info,updates,triggers}}
    mkdir -p "$root/etc/systemd/system/multi-user.target.wants"
    touch "$root"/etc/{passwd,group,shadow,gshadow} "$root/var/lib/dpkg/status"
}

clean_environment=(PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/tmp LC_ALL=C.UTF-8
                   DEBIAN_FRONTEND=noninteractive QT_QPA_PLATFORM=offscreen)

# become_in_root COMMAND...: this process becomes the command, with the packages' programs and
# libraries before all others.
become_in_root() {
    if [ "$way" = folder ]; then
        exec env -u LD_PRELOAD "${clean_environment[@]}" PATH="$root/usr/bin:$PATH" \
            LD_LIBRARY_PATH="$root$libraries" ZULOG_CONNECTION_INFO="clean-root-$$" \
            ARZDATA="$place/var/lib/zulogsvc" XDG_RUNTIME_DIR="$place/tmp" "$@"
    else
        exec chroot "$root" env -i "${clean_environment[@]}" ARZDATA=/var/lib/zulogsvc \
            XDG_RUNTIME_DIR=/tmp "$@"
    fi
}
in_root() { (become_in_root "$@"); }

# The package manager, at work on the root. In a system what the packages' scripts ask of systemd is
# written down; none runs there.
in_dpkg() {
    if [ "$way" = folder ]; then
        dpkg --root="$root" --log=/dev/null --force-depends --force-script-chrootless "$@"
    else
        in_root env PATH="/tmp/systemd:$PATH" dpkg "$@"
    fi
}

# expect_requests LINE...: what the scripts have asked of systemd since the last time.
expect_requests() {
    [ "$way" != folder ] || return 0
    [ "$(cat "$root/tmp/requests")" = "$(printf '%s\n' "$@")" ] ||
        fail "systemd was asked: $(cat "$root/tmp/requests")"
    : > "$root/tmp/requests"
}

# Everything in the root that is not as it was on this machine, with its content, except what other
# packages renew whenever any package comes or goes: caches, the database, its log, and the copies
# that are kept of the lists of users.
traces() {
    local changes=$root lower='' name path
    [ "$way" = folder ] || changes=$work/changes
    (
        cd "$changes"
        find . -mindepth 1 \( -path '*/var/lib/dpkg' -o -path '*/var/cache' -o -path '*/var/log' \) \
            -prune -o -printf '%y %P\n'
    ) | while read -r kind path; do
        if [ "$way" != folder ]; then
            # "_usr/share" was changed for "/usr/share".
            name=${path%%/*} lower=
            [ "$name" != "$path" ] || continue
            [ "$name" = _ ] || lower=/${name#_}
            lower=$lower/${path#*/}
            [ "$kind" != d ] || [ ! -d "$lower" ] || continue
            case "$lower" in
                /var/lib/dpkg* | /var/cache* | /var/log* | /tmp | /run) continue ;;
                /etc/ld.so.cache | /etc/passwd- | /etc/group- | /etc/shadow- | /etc/gshadow- | \
                    /etc/subuid- | /etc/subgid- | /etc/.pwd.lock) continue ;;
                /usr/share/applications/mimeinfo.cache) continue ;;
                /usr/share/icons/hicolor/icon-theme.cache) continue ;;
            esac
            [ "$kind" != f ] || ! cmp -s "$lower" "$changes/$path" || continue
        else
            case "/$path" in
                /etc/passwd- | /etc/group- | /etc/shadow- | /etc/gshadow- | /etc/.pwd.lock) continue ;;
            esac
        fi
        if [ "$kind" = f ]; then
            echo "f $path $(sha256sum < "$changes/$path")"
        else
            echo "$kind $path"
        fi
    done | sort
}

### What is done in it

install_packages() {
    cp "$packages"/*.deb "$root/tmp"
    local files=("$root"/tmp/*.deb)
    [ ${#files[@]} -eq ${#names[@]} ] || fail "there are ${#files[@]} packages"
    [ "$way" = folder ] || files=("${files[@]#"$root"}")
    in_dpkg --install "${files[@]}" > "$work/dpkg.log" 2>&1 || { cat "$work/dpkg.log"; fail "dpkg"; }
    rm "$root"/tmp/*.deb
    libraries=$(in_dpkg --listfiles libzulog1 | grep '/libzulog\.so\.1$')
    libraries=${libraries%/*}
    [ "$way" = folder ] || [ -z "$(in_dpkg --audit)" ] || fail "something is half installed"
}

user_is_known() { grep -q '^zulogsvc:' "$root/etc/passwd"; }
enabled=$root/etc/systemd/system/multi-user.target.wants/ZULogSvc.service

check_installation() {
    for program in logdesk zulogsvc zulog; do
        [ "$(in_root which $program)" = "$place/usr/bin/$program" ] || fail "$program is not found"
        [[ "$(in_root $program --version)" == "$program "[0-9]*.[0-9]*.[0-9]* ]] || fail "$program"
    done
    in_root bash -c ". '$place/usr/share/bash-completion/completions/logdesk'; complete -p logdesk" \
        > /dev/null
    [ -s "$root/usr/bin/$doc_dir_from_program/user-guide.md" ] || fail "the guide is not there"
    user_is_known || fail "the service has no user"
    [ ! -L "$enabled" ] || fail "the service was enabled by itself"
    if [ "$way" != folder ]; then
        local words
        words=$(in_root systemd-analyze verify --man=no ZULogSvc.service 2>&1) || fail "$words"
    fi
}
doc_dir_from_program=../share/doc/logdesk

# The administrator's one command; without a running system it starts nothing.
enable_service() {
    if [ "$way" = folder ]; then
        systemctl --root="$root" enable ZULogSvc
    else
        in_root systemctl enable ZULogSvc
    fi 2> /dev/null
    [ -L "$enabled" ] || fail "the service was not enabled"
}

start_service() {
    # As the unit has it made.
    mkdir -m 2770 "$root/var/lib/zulogsvc"
    [ "$way" = folder ] || in_root chown zulogsvc:zulogsvc /var/lib/zulogsvc
    # As the user that the package has made.
    local user=()
    [ "$way" = folder ] || user=(setpriv --reuid zulogsvc --regid zulogsvc --init-groups)
    mkfifo "$work/output"
    become_in_root "${user[@]}" zulogsvc > "$work/output" &
    service=$!
    started+=("$service")
    exec 3< "$work/output"
    read -r -t 60 -u 3 || fail "the service did not start"
}

# By what stands in libzulog-dev alone.
build_and_run_examples() {
    local examples=$place/usr/share/doc/libzulog-dev/examples build=$place/tmp/build
    local at_root=() places=()
    if [ "$way" = folder ]; then
        at_root=(PKG_CONFIG_SYSROOT_DIR="$root"
                 PKG_CONFIG_LIBDIR="$root$libraries/pkgconfig")
        places=("-DCMAKE_PREFIX_PATH=$root/usr")
    fi
    in_root env "${at_root[@]}" sh -e -c \
        'cc -std=c11 "$1" -o "$2" $(pkg-config --cflags --libs zulog)' \
        sh "$examples/hello.c" "$place/tmp/plain"
    in_root cmake -S "$examples" -B "$build" "${places[@]}" > "$work/cmake.log" 2>&1 ||
        { cat "$work/cmake.log"; fail "CMake does not find the library"; }
    in_root cmake --build "$build" --target hello_c hello_cpp > "$work/cmake.log" 2>&1 ||
        { cat "$work/cmake.log"; fail "the examples cannot be built"; }
    grep -q "^Zulog_DIR:PATH=$place$libraries/cmake/Zulog$" "$root/tmp/build/CMakeCache.txt" ||
        fail "another library was found"
    for program in plain build/hello_c build/hello_cpp; do
        in_root "$place/tmp/$program"
    done
    rm -r "$root/tmp/build" "$root/tmp/plain"
}

recorded() { in_root timeout 60 zulog tail --replay --json --count "$1"; }

check_messages() {
    local messages
    messages=$(recorded 3) || fail "three messages of the examples did not come"
    [ "$(grep -c '"LogMessage":"Hello from C' <<< "$messages")" -eq 3 ] || fail "$messages"
    in_root timeout 60 zulog demo --count 50 --rate 1000 --reliable 2> /dev/null || fail "zulog demo"
    [ "$(recorded 53 | wc -l)" -eq 53 ] || fail "fifty more messages did not come"
}

requests() {
    in_root zulog status --json | grep -o '"requests":"[0-9]*' | grep -o '[0-9]*$'
}

# The window asks the service for its configuration before it opens. Nobody else asks meanwhile but
# the status itself, always the same.
check_window() {
    local first second last own limit=$((SECONDS + 60)) status=0
    first=$(requests) second=$(requests) own=$((second - first)) last=$second
    become_in_root logdesk 2> "$work/logdesk.log" &
    local window=$!
    started+=("$window")
    while :; do
        kill -0 "$window" 2> /dev/null || { cat "$work/logdesk.log"; fail "the window ended"; }
        second=$(requests)
        [ $((second - last)) -eq "$own" ] || break
        last=$second
        [ "$SECONDS" -lt "$limit" ] || fail "the window does not ask the service"
    done
    kill "$window"
    wait "$window" || status=$?
    [ "$status" -eq 143 ] || { cat "$work/logdesk.log"; fail "the window ended with $status"; }
}

stop_service() {
    kill "$service"
    wait "$service" || fail "the service ended with $?"
    exec 3<&-
    started=()
    [ -s "$root/var/lib/zulogsvc/log/LogSvcConf.json" ] || fail "the service has written no files"
}

remove_packages() {
    in_dpkg --remove "${names[@]}" > "$work/dpkg.log" 2>&1 || { cat "$work/dpkg.log"; fail "dpkg"; }
    for program in logdesk zulogsvc zulog; do
        [ ! -e "$root/usr/bin/$program" ] || fail "$program is still there"
    done
    # The administrator's, until the purge.
    [ -s "$root/var/lib/zulogsvc/log/LogSvcConf.json" ] || fail "the service's files were removed"
    user_is_known || fail "the owner of the service's files was removed"
    [ -L "$enabled" ] || fail "the service has to be enabled again"
}

purge_packages() {
    in_dpkg --purge "$@" > "$work/dpkg.log" 2>&1 || { cat "$work/dpkg.log"; fail "dpkg"; }
    for name in "${names[@]}"; do
        # Nothing in the database either.
        ! in_dpkg --status "$name" > /dev/null 2>&1 || fail "$name is still known"
    done
}

### One after the other

[ -d "$work" ] || fail "no folder $work"
# Where the root is for the programs in it.
place=
if [ "$way" = folder ]; then
    place=$root
    make_folder
else
    make_system
    [ "$way" != probe ] || exit 0
    way=system
    # A machine on which the packages are installed.
    purge_packages "${names[@]}"
    : > "$root/tmp/requests"
fi

traces > "$work/before"
install_packages
expect_requests "systemctl --system daemon-reload" # and not to start anything
check_installation
enable_service
start_service
build_and_run_examples
check_messages
check_window
stop_service
install_packages # an upgrade
expect_requests "systemctl --system daemon-reload" "deb-systemd-invoke try-restart ZULogSvc.service"
remove_packages
expect_requests "deb-systemd-invoke stop ZULogSvc.service" "systemctl --system daemon-reload"
traces > "$work/removed"
! diff -q "$work/before" "$work/removed" > /dev/null || fail "a removal leaves what it should not"
purge_packages "${names[@]}"
rm -rf "$root"/tmp/* # what the programs left in the folder for temporary files
traces > "$work/after"
diff "$work/before" "$work/after" || fail "there are traces"
echo "clean-root.sh: done ($way)"
