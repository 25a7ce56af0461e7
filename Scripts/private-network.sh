#!/bin/sh
# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT
#
#   Scripts/private-network.sh COMMAND ARGUMENT...
#
# Runs a command in a network of its own (a network namespace, network_namespaces(7)), in which only
# the loopback interface exists. Ports, broadcasts and names in the abstract namespace of Unix
# sockets are then shared with no other test and with no real server. The command has the same
# process id, user and capabilities as without this script. Where the system does not allow such a
# network, the command is not run and the exit code is not 0.
set -eu

# Root may create a network. Other users need a user namespace for it; there they keep their own
# user id, and have the capability to enable the interface only until the command starts.
if [ "$(id -u)" -eq 0 ] && unshare --net true 2>/dev/null; then
    exec unshare --net sh -c 'ip link set lo up && exec "$@"' sh "$@"
fi
exec unshare --map-current-user --keep-caps --net sh -c \
    'ip link set lo up && exec setpriv --ambient-caps=-all --inh-caps=-all "$@"' sh "$@"
