// captions FILE: a line with the caption of each 16-byte record of a file.
#include "ipmi/IpmiSelData.h"

#include <fstream>
#include <iostream>

int main(int argc, char** argv)
{
    std::ifstream file(argc == 2 ? argv[1] : "", std::ios::binary);
    if (!file) {
        std::cerr << "usage: " << argv[0] << " FILE\n";
        return 2;
    }
    Ipmi::sel_event_record record;
    while (file.read(reinterpret_cast<char*>(record.bytes), sizeof record.bytes))
        std::cout << Ipmi::IpmiSelData(&record, 0).caption() << '\n';
    return 0;
}
