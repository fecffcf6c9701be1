#include "search/trace.h"

#include "platform/files.h"

namespace {
constexpr int BLOCK = 9;  // columns of one move
}

bool write_trace(SearchTrace &trace, const TracedMove &traced) {
    const std::lock_guard<std::mutex> guard(trace.lock);
    if (trace.level == 0) return true;  // switched off by another thread
    if (trace.file == nullptr) trace.file.reset(open_file("trace.txt", "w"));
    if (trace.file == nullptr) return false;
    std::FILE *file = trace.file.get();
    if (traced.ply < 1 || trace.level < traced.ply) return true;
    if (traced.iteration > trace.last_iteration) std::fprintf(file, "\n\nSEARCH DEPTH= %d\n", traced.iteration);
    if (traced.ply <= trace.last_ply) std::fprintf(file, "\n%*s", (traced.ply - 1) * BLOCK, "");
    std::fprintf(file, "(%2d)%s ", traced.depth, move_to_text(traced.move, trace.style).c_str());
    trace.last_ply = traced.ply;
    trace.last_iteration = traced.iteration;
    return true;
}
