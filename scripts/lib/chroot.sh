# Functions for scripts that try the packages in a bare Debian; to be sourced, as root, in the
# project's folder. What they mount and start is in namespaces of its own and ends with the script,
# however that ends. The system's tree is $bare; there is a user in it, `user`, whose home is /home/user.

bare=$PWD/build/bare/system

# in_namespaces SCRIPT [ARGUMENT...]: starts the calling script anew where its mounts and processes are
# its own; returns there.
in_namespaces() {
  [[ -z "${QUARNET_BARE:-}" ]] || return 0
  if ((EUID != 0)); then
    echo "${1##*/}: only root can set up a system of its own to try the packages in: sudo $1" >&2
    exit 1
  fi
  scripts/setup chroot
  mkdir -p build/bare
  exec {alone}<build/bare
  flock -n "$alone" || { echo "${1##*/}: another one is at work in build/bare" >&2 && exit 1; }
  # In the background, so that Ctrl-C is ours, and comes to its end even if this shell is killed.
  QUARNET_BARE=1 setpriv --pdeathsig KILL \
    unshare --mount --pid --fork --kill-child --mount-proc --propagation private "$@" &
  trap '{ kill -KILL $! && wait || true; } 2>/dev/null; rm -rf --one-file-system "$bare"' EXIT
  trap 'exit 130' INT
  trap 'exit 143' TERM HUP
  local status=0
  wait $! || status=$?
  exit "$status"
}

# make_bare: a system with nothing but what Debian calls essential, and apt. It is fetched once; later
# ones are unpacked from build/bare/base.tar. Packages that apt fetches are kept in build/bare/archives.
make_bare() {
  if [[ ! -e build/bare/base.tar ]]; then
    echo "bare: fetching a bare Debian 12"
    mmdebstrap --quiet --variant=minbase bookworm build/bare/base.new.tar
    mv build/bare/base.new.tar build/bare/base.tar
  fi
  rm -rf --one-file-system "$bare"
  mkdir -p "$bare" build/bare/archives/partial
  tar -x -f build/bare/base.tar -C "$bare"
  mount --bind "$bare" "$bare"
  mount -t proc proc "$bare/proc"
  mount -t sysfs -o ro sysfs "$bare/sys"
  mount -t tmpfs -o mode=755 dev "$bare/dev"
  mkdir "$bare"/dev/{pts,shm}
  mount -t tmpfs -o mode=1777 shm "$bare/dev/shm"
  mount -t devpts -o newinstance,ptmxmode=0666 devpts "$bare/dev/pts"
  ln -s pts/ptmx "$bare/dev/ptmx"
  ln -s /proc/self/fd "$bare/dev/fd"
  local device
  for device in null zero full random urandom tty; do
    : >"$bare/dev/$device"
    mount --bind "/dev/$device" "$bare/dev/$device"
  done
  mount --bind build/bare/archives "$bare/var/cache/apt/archives"
  cp -L /etc/resolv.conf "$bare/etc/resolv.conf"
  echo 'APT::Keep-Downloaded-Packages "true";' >"$bare/etc/apt/apt.conf.d/keep"
  printf '#!/bin/sh\nexit 101\n' >"$bare/usr/sbin/policy-rc.d" # no service starts in here
  chmod +x "$bare/usr/sbin/policy-rc.d"
  as root useradd --create-home --shell /bin/bash user
}

# as USER COMMAND...: in that user's home and an environment of its own.
as() {
  local home=/root
  [[ "$1" == root ]] || home=/home/$1
  chroot --userspec="$1" "$bare" env -i --chdir="$home" HOME="$home" USER="$1" LC_ALL=C.UTF-8 \
    PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
    DEBIAN_FRONTEND=noninteractive "${@:2}"
}
# as_user COMMAND...: the same with no network but the loopback.
as_user() {
  unshare --net bash -euc 'ip link set lo up; source scripts/lib/chroot.sh; as user "$@"' - "$@"
}
