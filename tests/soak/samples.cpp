// What a process has and holds at one moment, from outside of it.
#include "soak/samples.h"

#include <dirent.h>
#include <xcb/res.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <set>

namespace orvo::testing {
namespace {

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
    return {reply, &std::free};
}

int entriesOf(const std::string& folder) {
    int count = 0;
    DIR* entries = opendir(folder.c_str());
    while (entries && readdir(entries)) ++count;
    if (entries) closedir(entries);
    return count > 2 ? count - 2 : 0;
}

// The number behind a word such as "Pss:" in a file of such lines.
long numberBehind(const std::string& path, const std::string& word) {
    std::ifstream file(path);
    for (std::string found; file >> found;)
        if (long number = 0; found == word && file >> number) return number;
    return 0;
}

std::set<uint32_t> clientsOf(int pid, xcb_connection_t* x) {
    std::set<uint32_t> clients;
    const xcb_res_client_id_spec_t all{0, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    const auto reply = owned(xcb_res_query_client_ids_reply(x, xcb_res_query_client_ids(x, 1, &all), nullptr));
    if (!reply) return clients;
    for (auto i = xcb_res_query_client_ids_ids_iterator(reply.get()); i.rem; xcb_res_client_id_value_next(&i))
        if (xcb_res_client_id_value_value_length(i.data) > 0 &&
            *xcb_res_client_id_value_value(i.data) == static_cast<uint32_t>(pid))
            clients.insert(i.data->spec.client);
    return clients;
}

}  // namespace

Sample sampleOf(int pid, xcb_connection_t* x) {
    const std::string folder = "/proc/" + std::to_string(pid);
    Sample sample;
    sample.residentKilobytes = numberBehind(folder + "/smaps_rollup", "Rss:");
    sample.proportionalKilobytes = numberBehind(folder + "/smaps_rollup", "Pss:");
    sample.files = entriesOf(folder + "/fd");
    sample.threads = entriesOf(folder + "/task");
    for (const uint32_t client : clientsOf(pid, x)) {
        ++sample.serverClients;
        const auto held =
            owned(xcb_res_query_client_resources_reply(x, xcb_res_query_client_resources(x, client), nullptr));
        if (!held) continue;
        const xcb_res_type_t* types = xcb_res_query_client_resources_types(held.get());
        for (int i = 0; i < xcb_res_query_client_resources_types_length(held.get()); ++i)
            sample.serverObjects += types[i].count;
    }
    return sample;
}

}  // namespace orvo::testing
