#!/usr/bin/env bash
# Runs a Linux program for another processor under qemu-user: emulate.sh PROGRAM [ARGUMENT...]
set -euo pipefail

# From the header: the class (32 or 64 bits), the byte order, and the machine in that order.
read -r class order first second < <(
  { od -An -tu1 -j4 -N2 "$1" && od -An -tu1 -j18 -N2 "$1"; } | tr '\n' ' ' && echo)
case $class/$order/$first/$second in
  2/2/0/22) processor=s390x triplet=s390x-linux-gnu ;;
  2/1/183/0) processor=aarch64 triplet=aarch64-linux-gnu ;;
  1/1/40/0) processor=arm triplet=arm-linux-gnueabihf ;;
  2/1/243/0) processor=riscv64 triplet=riscv64-linux-gnu ;;
  *)
    echo "$1 is a program for no processor that is emulated here" >&2
    exit 126
    ;;
esac
exec "qemu-$processor" -L "/usr/$triplet" "$@"
