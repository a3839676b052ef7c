#!/bin/sh
# Runs the nodetree program and some examples on the configuration of a service.
# Usage: demo.sh BUILD_DIR
set -eu

build=$(cd "${1:?usage: demo.sh BUILD_DIR}" && pwd)
PATH=$build/tool:$build/examples:$PATH
cd "$(dirname "$0")/data"

show() {
  printf '\n$ %s\n' "$1"
  sh -c "$1"
}

echo "In $(pwd):"
show "nodetree get -r /server/host service.json"
show "nodetree get /server/timeouts service.json"
show "nodetree glob '/upstreams/*/retries/count' service.json"
show "nodetree flat service.json | head -n 6"
show "nodetree format -c service.json | cut -c 1-72"
show "nodetree format service.json | nodetree format | nodetree get /users/0/roles/1"
show "printf '{\"n\": 1} {\"n\": 2}' | nodetree get n"
show "read_config service.json"
show "nodetree eval '[\"range\", 1, 65535, \"/server/port\"]' service.json"
show "nodetree filter -c --include /server --exclude /server/tls/key service.json"
show "echo '{\"server\": {\"port\": 9443}}' | nodetree merge service.json - | nodetree get /server/port"
show "echo '{\"server\": {\"port\": 9443}}' | nodetree merge service.json - | nodetree diff service.json - || echo status \$?"
show "validate rules.json broken.json || echo status \$?"
show "nodetree convert --to msgpack bookings.json | head -c 48 | od -A d -t x1z"
show "answer_requests booking_rules.json < bookings.json"
show "nodetree convert --to msgpack bookings.json | answer_requests booking_rules.json | nodetree convert --to json -c"
