// Percent-coding and base64 of 1 MiB, beside GLib where it is installed.

#include <benchmark/benchmark.h>
#ifdef VYN_BENCH_GLIB
#include <glib.h>
#endif

#include <random>
#include <string>

#include "VynHttp.h"

namespace {

constexpr size_t kBytes = 1 << 20;

// All bytes but zero, which GLib's texts can't hold.
std::string RandomBytes() {
    std::mt19937 random(1);
    std::uniform_int_distribution<int> byte(1, 255);
    std::string bytes;
    while (bytes.size() < kBytes) {
        bytes += static_cast<char>(byte(random));
    }
    return bytes;
}

std::string Prose() {
    std::string text;
    while (text.size() < kBytes) {
        text += "The model \"Pumpe & Kühler\" was saved to /home/user/models/pump.zem (version 12). ";
    }
    text.resize(kBytes);
    return text;
}

const std::string& Input(const benchmark::State& state) {
    static const std::string prose = Prose();
    static const std::string randomBytes = RandomBytes();
    return state.range(0) == 0 ? prose : randomBytes;
}

void Finish(benchmark::State& state) {
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kBytes));
    state.SetLabel(state.range(0) == 0 ? "prose" : "random bytes");
}

// The speed counts the bytes that aren't coded, in both directions.
template <void (*encode)(const vyn::UTF8String&, std::string&)>
void PercentEncode(benchmark::State& state) {
    const vyn::UTF8String in = Input(state);
    for (auto _ : state) {
        std::string out;
        encode(in, out);
        benchmark::DoNotOptimize(out.data());
    }
    Finish(state);
}

template <void (*decode)(const std::string&, vyn::UTF8String&)>
void PercentDecode(benchmark::State& state) {
    std::string in;
    vyn::EncodeAgentURL(Input(state), in);
    for (auto _ : state) {
        vyn::UTF8String out;
        decode(in, out);
        benchmark::DoNotOptimize(out.data());
    }
    Finish(state);
}

void Base64Encode(benchmark::State& state) {
    const std::string& in = Input(state);
    for (auto _ : state) {
        std::string out =
            vyn::base64_encode(reinterpret_cast<const unsigned char*>(in.data()), static_cast<unsigned>(in.size()));
        benchmark::DoNotOptimize(out.data());
    }
    Finish(state);
}

std::string Base64Input(const benchmark::State& state) {
    const std::string& in = Input(state);
    return vyn::base64_encode(reinterpret_cast<const unsigned char*>(in.data()), static_cast<unsigned>(in.size()));
}

void Base64Decode(benchmark::State& state) {
    const std::string in = Base64Input(state);
    for (auto _ : state) {
        std::string out = vyn::base64_decode(in);
        benchmark::DoNotOptimize(out.data());
    }
    Finish(state);
}

BENCHMARK(PercentEncode<vyn::EncodeURL>)->Name("EncodeURL")->Arg(0)->Arg(1);
BENCHMARK(PercentEncode<vyn::EncodeAgentURL>)->Name("EncodeAgentURL")->Arg(0)->Arg(1);
#ifdef VYN_BENCH_GLIB
void GLibPercentEncode(benchmark::State& state) {
    const std::string& in = Input(state);
    for (auto _ : state) {
        char* out = g_uri_escape_string(in.c_str(), "!'()*", FALSE);
        benchmark::DoNotOptimize(out);
        g_free(out);
    }
    Finish(state);
}
BENCHMARK(GLibPercentEncode)->Name("g_uri_escape_string")->Arg(0)->Arg(1);
#endif

BENCHMARK(PercentDecode<vyn::DecodeURL>)->Name("DecodeURL")->Arg(0)->Arg(1);
BENCHMARK(PercentDecode<vyn::DecodeAgentURL>)->Name("DecodeAgentURL")->Arg(0)->Arg(1);
#ifdef VYN_BENCH_GLIB
void GLibPercentDecode(benchmark::State& state) {
    std::string in;
    vyn::EncodeAgentURL(Input(state), in);
    for (auto _ : state) {
        char* out = g_uri_unescape_string(in.c_str(), nullptr);
        benchmark::DoNotOptimize(out);
        g_free(out);
    }
    Finish(state);
}
BENCHMARK(GLibPercentDecode)->Name("g_uri_unescape_string")->Arg(0)->Arg(1);
#endif

BENCHMARK(Base64Encode)->Name("base64_encode")->Arg(1);
#ifdef VYN_BENCH_GLIB
void GLibBase64Encode(benchmark::State& state) {
    const std::string& in = Input(state);
    for (auto _ : state) {
        char* out = g_base64_encode(reinterpret_cast<const guchar*>(in.data()), in.size());
        benchmark::DoNotOptimize(out);
        g_free(out);
    }
    Finish(state);
}
BENCHMARK(GLibBase64Encode)->Name("g_base64_encode")->Arg(1);
#endif

BENCHMARK(Base64Decode)->Name("base64_decode")->Arg(1);
#ifdef VYN_BENCH_GLIB
void GLibBase64Decode(benchmark::State& state) {
    const std::string in = Base64Input(state);
    for (auto _ : state) {
        gsize length;
        guchar* out = g_base64_decode(in.c_str(), &length);
        benchmark::DoNotOptimize(out);
        g_free(out);
    }
    Finish(state);
}
BENCHMARK(GLibBase64Decode)->Name("g_base64_decode")->Arg(1);
#endif

}  // namespace
