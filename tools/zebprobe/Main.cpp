#include "tools/zebprobe/Probe.h"

int main(int argc, char** argv) { return Probe::Main(argc, argv); }
