#include "BusGraph.h"

#include "BusText.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace rombus {
namespace {

// A text as a DOT string's contents: quotes and backslashes escaped, control bytes dropped.
std::string dotText(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == '"' || c == '\\')
            out += '\\';
        if (static_cast<unsigned char>(c) >= 0x20 && c != 0x7F)
            out += c;
    }
    return out;
}

std::string hex(uint64_t value) {
    char text[24];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(value));
    return text;
}

std::string nodeName(size_t bus, unsigned phyId) {
    return "b" + std::to_string(bus) + "p" + std::to_string(phyId);
}

std::string phyBox(const BusView& view, size_t bus, unsigned index) {
    const BusPhy& phy = view.phys[index];
    std::string label = "PHY " + std::to_string(phy.self.phyId);
    const std::string roles = rolesOf(view, index);
    if (!roles.empty())
        label += " (" + roles + ")";
    label += "\\n" + (phy.facts.deviceFile.empty()
                          ? fileless(view, phy)
                          : dotText(phy.facts.deviceFile) + "  " + hex(phy.facts.guid));
    for (const auto& name : {phy.vendor, phy.model})
        if (name)
            label += "\\n" + dotText(*name);
    label += "\\n" + speedWord(phy.self.speed);
    std::string style = phy.facts.deviceFile.empty() ? "dashed" : "solid";
    if (!phy.self.linkActive)
        style += ",filled\", fillcolor=\"grey85";
    return "    " + nodeName(bus, phy.self.phyId) + " [label=\"" + label + "\", style=\"" + style +
           "\"];\n";
}

std::string cable(const BusView& view, size_t bus, unsigned parent, unsigned port, unsigned child) {
    const BusPhy& below = view.phys[child];
    std::string label = "port " + std::to_string(port) + " - port " +
                        (below.parentPort ? std::to_string(*below.parentPort) : "?");
    if (below.pathSpeed)
        label += "\\npath " + speedWord(*below.pathSpeed);
    return "    " + nodeName(bus, view.phys[parent].self.phyId) + " -- " +
           nodeName(bus, below.self.phyId) + " [label=\"" + label + "\"];\n";
}

// Writes all of text to a descriptor; false when it cannot.
bool writeAll(int fd, const std::string& text) {
    for (size_t done = 0; done < text.size();) {
        const ssize_t count = ::write(fd, text.data() + done, text.size() - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        done += static_cast<size_t>(count);
    }
    return true;
}

} // namespace

std::string busDot(const std::vector<BusView>& views) {
    std::string out = "graph firewire {\n    graph [fontname=\"Helvetica\"];\n"
                      "    node [shape=box, fontname=\"Helvetica\"];\n"
                      "    edge [fontname=\"Helvetica\", fontsize=10];\n";
    for (size_t bus = 0; bus < views.size(); ++bus) {
        const BusView& view = views[bus];
        out += "  subgraph cluster_" + std::to_string(bus) + " {\n    label=\"" +
               dotText(view.name) + "\";\n";
        for (unsigned i = 0; i < view.phys.size(); ++i)
            out += phyBox(view, bus, i);
        for (unsigned i = 0; i < view.phys.size(); ++i)
            for (const auto& [port, child] : view.phys[i].children)
                out += cable(view, bus, i, port, child);
        out += "  }\n";
    }
    return out + "}\n";
}

bool drawSvg(const std::string& dot, std::string& svg, std::string& error) {
    int in[2], out[2];
    if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0) {
        error = std::string("cannot make a pipe to dot: ") + std::strerror(errno);
        return false;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    char program[] = "dot", format[] = "-Tsvg";
    char* argv[] = {program, format, nullptr};
    pid_t child = 0;
    const int spawned = ::posix_spawnp(&child, program, &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(in[0]);
    ::close(out[1]);
    if (spawned != 0) {
        ::close(in[1]);
        ::close(out[0]);
        error = "cannot run Graphviz's dot program (" + std::string(std::strerror(spawned)) +
                "): install Graphviz (Debian package graphviz), or take the graph with "
                "--graph dot";
        return false;
    }
    // dot reads the whole graph before it writes: the graph first, then the drawing.
    const auto ignored = std::signal(SIGPIPE, SIG_IGN);
    const bool sent = writeAll(in[1], dot);
    ::close(in[1]);
    std::signal(SIGPIPE, ignored);
    char buffer[4096];
    for (ssize_t count; (count = ::read(out[0], buffer, sizeof buffer)) != 0;) {
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            break;
        svg.append(buffer, static_cast<size_t>(count));
    }
    ::close(out[0]);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR)
        ;
    if (!sent || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        error = "Graphviz's dot program failed to draw the graph";
        return false;
    }
    return true;
}

} // namespace rombus
