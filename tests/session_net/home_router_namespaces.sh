#!/usr/bin/env bash
# Three network namespaces for the home-router test, none linked to the machine's own network:
#   PREFIX-home (198.51.100.2) -- PREFIX-router (198.51.100.1 inside, 192.0.3.1 outside) -- PREFIX-net (192.0.3.2)
# The router forwards and masquerades the home network (nftables) and gives miniupnpd the inet filter
# table and chains it adds its rules to. miniupnpd refuses an outside address in a reserved range
# (TEST-NET included), so the outside link uses 192.0.3.0/24, which only these namespaces carry.
#   up PREFIX DIR    creates them, writes DIR/natpmp.conf and DIR/upnp.conf for miniupnpd
#   check PREFIX     fails unless each namespace's links lead only to the other two
#   down PREFIX      removes them (safe to repeat)
set -euo pipefail

command=$1 prefix=$2
home=$prefix-home router=$prefix-router net=$prefix-net

up() {
    local dir=$1
    # Namespaces of an earlier run that was killed before it could remove them (its process is gone).
    for stale in $(ip netns list | sed -n 's/^\(korvathw\{0,1\}[0-9][0-9]*\)-home.*/\1/p'); do
        kill -0 "${stale//[!0-9]/}" 2>/dev/null || remove "$stale"
    done
    ip netns add "$home"
    ip netns add "$router"
    ip netns add "$net"
    # Each pair is made inside its namespaces, never in the machine's own.
    ip link add h0 netns "$home" type veth peer name rin netns "$router"
    ip link add rout netns "$router" type veth peer name n0 netns "$net"
    ip -n "$home" addr add 198.51.100.2/24 dev h0
    ip -n "$router" addr add 198.51.100.1/24 dev rin
    ip -n "$router" addr add 192.0.3.1/24 dev rout
    ip -n "$net" addr add 192.0.3.2/24 dev n0
    for pair in "$home h0" "$router rin" "$router rout" "$net n0" "$home lo" "$router lo" "$net lo"; do
        set -- $pair
        ip -n "$1" link set "$2" up
    done
    ip -n "$home" route add default via 198.51.100.1
    ip netns exec "$router" sysctl -qw net.ipv4.ip_forward=1
    # A home router: the LAN goes out masqueraded, nothing comes in unasked but what miniupnpd maps.
    ip netns exec "$router" nft -f - <<'NFT'
table inet filter {
    chain miniupnpd {}
    chain prerouting_miniupnpd {}
    chain postrouting_miniupnpd {}
    chain forward {
        type filter hook forward priority 0; policy drop;
        ct state established,related accept
        iifname "rin" accept
        jump miniupnpd
    }
    chain prerouting {
        type nat hook prerouting priority dstnat; policy accept;
        jump prerouting_miniupnpd
    }
    chain postrouting {
        type nat hook postrouting priority srcnat; policy accept;
        jump postrouting_miniupnpd
        oifname "rout" masquerade
    }
}
NFT
    for protocol in natpmp upnp; do
        cat >"$dir/$protocol.conf" <<CONF
ext_ifname=rout
listening_ip=rin
enable_natpmp=$([ "$protocol" = natpmp ] && echo yes || echo no)
enable_upnp=$([ "$protocol" = upnp ] && echo yes || echo no)
uuid=3d3cec3a-8cf0-11e0-98ee-001a6bd2d07b
secure_mode=yes
system_uptime=yes
clean_ruleset_interval=1
allow 1024-65535 198.51.100.0/24 1024-65535
deny 0-65535 0.0.0.0/0 0-65535
CONF
    done
}

check() {
    local ours=" $home $router $net "
    for namespace in $home $router $net; do
        while read -r line; do
            case $line in *": lo:"*) continue ;; esac
            peer=$(sed -n 's/.* link-netns \([^ ]*\).*/\1/p' <<<"$line")
            if [ -z "$peer" ] || [[ $ours != *" $peer "* ]]; then
                echo "$namespace has a link that leads outside the test's namespaces: $line" >&2
                exit 1
            fi
        done < <(ip -n "$namespace" -o link show)
    done
}

remove() {
    for namespace in $1-home $1-router $1-net; do
        ip netns pids "$namespace" 2>/dev/null | xargs -r kill -9 2>/dev/null || true
        ip netns delete "$namespace" 2>/dev/null || true
    done
}

case $command in
up) up "$3" ;;
check) check ;;
down) remove "$prefix" ;;
*) echo "usage: $0 up|check|down PREFIX [DIR]" >&2; exit 2 ;;
esac
