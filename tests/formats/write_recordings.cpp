// write_recordings FOLDER: the recordings that goldens name, as files for programs that are not ours.
#include "tests/program/recordings.hpp"

#include <fstream>
#include <iostream>
#include <string>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: write_recordings FOLDER\n";
        return 2;
    }
    for (const auto& [name, recipe] : recordings::all()) {
        const recordings::bytes content = recipe();
        std::ofstream file(std::string(argv[1]) + "/" + name, std::ios::binary);
        file.write(reinterpret_cast<const char*>(content.data()),
                   static_cast<std::streamsize>(content.size()));
        if (!file.flush()) {
            std::cerr << "cannot write " << name << '\n';
            return 1;
        }
    }
    return 0;
}
