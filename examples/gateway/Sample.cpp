#include "Sample.h"

#include "Config.h"

#include "zeb/core/ErrorString.h"
#include "zeb/core/Log.h"
#include "zeb/core/RString.h"
#include "zeb/core/Time.h"
#include "zeb/io/File.h"
#include "zeb/stream/StringStream.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <ifaddrs.h>
#include <netinet/in.h>

namespace {

constexpr char const* IDENT = "Gateway";

using PathT = RString<128>;

// Of the sixteen counters of an interface: received bytes, packets, six others; sent bytes, packets, six
// others.
constexpr int OTHER_COUNTERS = 6;

constexpr unsigned long MEGABIT = 1000000;

bool Good(Io::File const& file) {
    if (file.Ok()) return true;
    Log(Log::ERROR, IDENT, file.PathName().Cstr(), "unexpected content: %1") << file.ErrorString();
    return false;
}

bool ReadCpu(CString const& path, CpuSample& cpu) {
    Io::File file(path, O_RDONLY);
    if (file.Skip("cpu", nullptr)) file >> cpu.user >> cpu.nice >> cpu.system >> cpu.idle;
    return Good(file);
}

// "MemTotal:       24629180 kB" gives its number to `out` when the line has that name.
void TakeMemory(CString const& line, CString const& name, unsigned long& out) {
    if (line.Size() < name.Size() || line.Compare(0, name.Size(), name) != 0) return;
    Io::StringStream number(line.Cstr() + name.Size(), line.Size() - name.Size(), Io::MODE_READ);
    number >> out;
}

bool ReadMemory(CString const& path, MemorySample& memory) {
    Io::File file(path, O_RDONLY);
    String line;
    while (memory.total == 0 || memory.available == 0) {
        if (!file.ReadLine(line)) break;
        TakeMemory(line, "MemTotal:", memory.total);
        TakeMemory(line, "MemAvailable:", memory.available);
    }
    return Good(file);
}

bool ReadInterface(Io::File& file, InterfaceSample& interface) {
    int c = 0;
    for (unsigned long i = 0; (c = file.GetChar()) != ':'; ++i) {
        if (c == Io::IStreamBuffer::CHAR_END || i + 1 == sizeof(interface.name)) return false;
        interface.name[i] = static_cast<char>(c);
    }
    unsigned long other = 0;
    file >> interface.rxBytes >> interface.rxPackets;
    for (int i = 0; i < OTHER_COUNTERS; ++i)
        file >> other;
    file >> interface.txBytes >> interface.txPackets;
    return file.SkipLine();
}

bool ReadInterfaces(CString const& path, Config const& config, Array<InterfaceSample>& interfaces) {
    Io::File file(path, O_RDONLY);
    interfaces.Clear();
    // Two lines of headings.
    if (!file.SkipLine() || !file.SkipLine()) return Good(file);
    while (file.Skip<&isspace>() && !file.Eos()) {
        InterfaceSample interface {};
        if (!ReadInterface(file, interface)) {
            file.SetState(Io::Stateful::STATE_INVALID);
            break;
        }
        if (!config.Reports(interface.name) || interfaces.PushBack(interface)) continue;
        file.SetState(Io::Stateful::STATE_NO_MEMORY);
    }
    return Good(file);
}

// The file cannot be read, or says -1, where there is no link.
unsigned long ReadSpeed(CString const& root, char const* interface) {
    PathT path;
    if (!path.Assignf("%s/sys/class/net/%s/speed", root.Cstr(), interface)) return 0;
    Io::File file(path, O_RDONLY, Io::EOL_ANY_LF, 64, Log::VERBOSE_OFF);
    long megabits = 0;
    file >> megabits;
    return file.Ok() && megabits > 0 ? static_cast<unsigned long>(megabits) * MEGABIT : 0;
}

Network::IpAddress AddressOf(sockaddr const* address) {
    sockaddr_in in{};
    memcpy(&in, address, sizeof(in));
    return in.sin_addr;
}

void TakeAddress(ifaddrs const& entry, Array<InterfaceSample>& interfaces) {
    if (entry.ifa_addr == nullptr || entry.ifa_addr->sa_family != AF_INET || entry.ifa_netmask == nullptr)
        return;
    for (InterfaceSample& interface : interfaces) {
        if (strcmp(interface.name, entry.ifa_name) != 0 || !interface.address.Address().IsZero()) continue;
        Network::IpMask mask;
        if (mask.Assign(AddressOf(entry.ifa_netmask)))
            interface.address = Network::IpBlock(AddressOf(entry.ifa_addr), mask);
    }
}

bool ReadAddresses(Array<InterfaceSample>& interfaces) {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        Log(Log::ERROR, IDENT, nullptr, "unable to read addresses: %1") << ErrorString(errno);
        return false;
    }
    for (ifaddrs const* entry = first; entry != nullptr; entry = entry->ifa_next)
        TakeAddress(*entry, interfaces);
    freeifaddrs(first);
    return true;
}

} // namespace

bool Sample::Read(CString const& root, Config const& config) {
    at = Time::Now();
    memory = {};
    PathT stat, meminfo, netDev;
    if (!stat.Assignf("%s/proc/stat", root.Cstr()) || !meminfo.Assignf("%s/proc/meminfo", root.Cstr()) ||
        !netDev.Assignf("%s/proc/net/dev", root.Cstr()))
        return false;
    if (!ReadCpu(stat, cpu) || !ReadMemory(meminfo, memory) || !ReadInterfaces(netDev, config, interfaces))
        return false;
    for (InterfaceSample& interface : interfaces)
        interface.speed = ReadSpeed(root, interface.name);
    return ReadAddresses(interfaces);
}

bool Sample::Assign(Sample const& other) {
    if (!interfaces.Assign(other.interfaces)) return false;
    number = other.number;
    at = other.at;
    cpu = other.cpu;
    memory = other.memory;
    return true;
}
