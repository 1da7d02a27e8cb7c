// What both kinds of documents are tried with.
#pragma once

#include <sys/types.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

inline std::string Flujo(const std::string& contenido, const std::string& entradas = {}) {
    return "<< /Length " + std::to_string(contenido.size()) + " " + entradas + " >>\nstream\n" + contenido +
           "\nendstream";
}

inline std::vector<pid_t> Hijos() {
    std::ifstream lista("/proc/thread-self/children");
    return {std::istream_iterator<pid_t>(lista), {}};
}
