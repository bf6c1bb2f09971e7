#!/bin/sh
# Installs the packages in a clean Debian, uses them, builds programs with them, and removes them without a trace.
# The clean system is made once, in DIRECTORY/base, and copied for each run.
# usage: check.sh PACKAGES DIRECTORY   (exits with 77 where this is impossible, and says why)
set -eu

# Whatever is mounted is so for this script alone, and ends with it.
if [ -z "${VEXA_UNSHARED-}" ]; then
    [ "$(id -u)" = 0 ] || { echo "skipped: only root can change the root directory"; exit 77; }
    unshare -m true || { echo "skipped: mounts cannot be kept to this script here"; exit 77; }
    VEXA_UNSHARED=1 exec unshare -m sh "$0" "$@"
fi

packages=$(cd "$1" && pwd)
mkdir -p "$2"
directory=$(cd "$2" && pwd)
tests=$(cd "$(dirname "$0")/../../tests" && pwd)
base=$directory/base
root=$directory/root

# usage: in_root COMMAND...
in_root() {
    chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 HOME=/root DEBIAN_FRONTEND=noninteractive CXX=g++ "$@"
}

if [ ! -d "$base" ]; then
    # Without this, debootstrap would mount the devices of the host.
    rm -f "$directory/null"
    mknod "$directory/null" c 1 3 || { echo "skipped: devices cannot be made here"; exit 77; }
    rm -rf --one-file-system "$base.part"
    debootstrap --variant=minbase bookworm "$base.part" ${MIRROR:+"$MIRROR"}
    mv "$base.part" "$base"
fi
rm -rf --one-file-system "$root"
cp -a "$base" "$root"
cp /etc/resolv.conf "$root/etc/resolv.conf"
apt-config dump | grep -iE '^Acquire::[^ ]*proxy' >"$root/etc/apt/apt.conf.d/90proxy" || true
mkdir "$root/check"
find "$packages" -maxdepth 1 -name '*.deb' ! -name '*-dbgsym_*' -exec cp {} "$root/check" \;
cp -R "$tests/package" "$root/check/tests"
# Packages that were fetched before.
mkdir -p "$directory/archives"
find "$directory/archives" -name '*.deb' -exec cp {} "$root/var/cache/apt/archives" \;
echo 'Binary::apt-get::APT::Keep-Downloaded-Packages "true";' >"$root/etc/apt/apt.conf.d/91keep"

echo "== install"
in_root apt-get update -qq
in_root sh -c 'apt-get install -y -qq --no-install-recommends /check/*.deb' >"$directory/install.log" 2>&1 ||
    { cat "$directory/install.log" >&2; exit 1; }
names=$(in_root sh -c 'for deb in /check/*.deb; do dpkg-deb -f "$deb" Package; done' | sort)
test "$(echo "$names" | xargs)" = "libvexamesh-dev libvexamesh0 python3-vexamesh vexamesh"
# shellcheck disable=SC2086  # one word per package
in_root dpkg -L $names | sort -u >"$directory/files"
grep -q '^/usr/share/man/man1/vexamesh-strip.1.gz$' "$directory/files"

echo "== use"
in_root vexamesh --version
printf 'OFF\n4 2 0\n0 0 0\n1 0 0\n0 1 0\n1 1 0\n3 0 1 2\n3 2 1 3\n' >"$root/check/square.off"
in_root vexamesh strip /check/square.off -o /check/square.glb
in_root vexamesh report /check/square.off -o /check/square.html >/dev/null
grep -q '</html>' "$root/check/square.html"
in_root python3 -c 'import vexamesh; assert vexamesh.strip([0, 1, 2, 2, 1, 3]).tolist() == [0, 1, 2, 3]'
in_root python3 -m vexamesh validate /check/square.glb

echo "== build"
in_root apt-get install -y -qq --no-install-recommends g++ cmake ninja-build pkg-config >"$directory/tools.log" 2>&1
in_root sh /check/tests/buildAndTest.sh /check/tests/outside /check/outside
in_root sh /check/tests/pkgConfig.sh /check /usr
find "$root/var/cache/apt/archives" -name '*.deb' -exec cp -n {} "$directory/archives" \;

echo "== remove"
# shellcheck disable=SC2086
in_root apt-get purge -y -qq $names >"$directory/purge.log" 2>&1
left=0
while read -r file; do
    # Directories of other packages stay.
    if [ -e "$root$file" ] && { [ ! -d "$root$file" ] || case "$file" in *vexa*) true ;; *) false ;; esac; }; then
        echo "left over: $file" >&2
        left=1
    fi
done <"$directory/files"
[ "$left" = 0 ]
echo "figure: $(wc -l <"$directory/files") files and directories of 4 packages, none left over"
rm -rf --one-file-system "$root"
