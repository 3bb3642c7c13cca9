#include "tools/orvctl/commands.h"
#include "tools/orvctl/records.h"

namespace orvctl {
namespace {

constexpr column<tag_netcard> interface_columns[] = {
    {"NAME", "name", form::text, [](const tag_netcard& card) { return text_value(card.name); }},
    {"ADDRESS", "address", form::text, [](const tag_netcard& card) { return text_value(card.ip); }},
    {"NETMASK", "netmask", form::text,
     [](const tag_netcard& card) { return text_value(card.netmask); }},
    {"GATEWAY", "gateway", form::text,
     [](const tag_netcard& card) { return text_value(card.gateway); }},
    {"MAC", "mac", form::text, [](const tag_netcard& card) { return text_value(card.mac); }},
};

void list(session& run) {
  interface_list interfaces;
  const int result = netcard_get(interfaces.get());
  show_list(run, "interfaces", make_table(interface_columns, interfaces), result);
}

}  // namespace

void add_net_commands(CLI::App& program, session& run) {
  CLI::App& net = add_noun(program, "net", "Network interfaces", "orvctl net list");
  add_list(net, run, "list", "Show the interfaces that are up and have an IPv4 address",
           "orvctl net list --json", list);
}

}  // namespace orvctl
