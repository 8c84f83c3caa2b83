#include "kmr/run.hpp"

int main(int argc, char** argv) {
    return kmr::program::run(argc, argv);
}
