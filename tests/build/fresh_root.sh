# Sourced by tests that install into a fresh Debian 12, as root: they need a mirror and debootstrap. Sets source_dir, the
# folder place, which is removed at the end, and root in it.
source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
place=$(mktemp -d)
root=$place/root

clean_up() {
  ! mountpoint -q "$root/proc" || umount -l "$root/proc"
  rm -rf --one-file-system "$place"
}
trap clean_up EXIT

fail() {
  echo "$(basename "$0" .sh): $*" >&2
  exit 1
}

quietly() {  # quietly MESSAGE COMMAND...: shows what it prints, and the message, only if it fails
  local message=$1
  shift
  "$@" >"$place/log" 2>&1 || { cat "$place/log" && fail "$message"; }
}

make_root() {
  quietly "there is no root" debootstrap --variant=minbase bookworm "$root"
  mount -t proc proc "$root/proc"
}

inside() {  # inside COMMAND...: in the root
  chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"
}

apt_install() {  # apt_install PACKAGE...: in the root, by names or patterns of files there
  quietly "cannot install $*" inside bash -c "apt-get install -y -qq --no-install-recommends $*"
}
