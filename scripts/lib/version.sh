# A function for scripts that need the version; to be sourced.

# version_of FOLDER: the version of the project's tree in that folder: "1.2.3".
version_of() {
  sed -nE 's/^#define QUARNET_VERSION_[A-Z]+ ([0-9]+)$/\1/p' "$1/quarnet/core/Version.h" | paste -sd .
}
