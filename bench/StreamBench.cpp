// Streams over a file of 4 MB: lines, numbers, characters, copies; beside the standard library's streams and
// stdio.

#include "zeb/io/File.h"

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>

namespace {

constexpr unsigned long TEXT_SIZE = 4'000'000;
constexpr unsigned long SMALL = 4096;
constexpr unsigned long LARGE = 65536;
constexpr unsigned long NUMBERS = 200'000;

// The inputs, made once, and a place for output; gone at the end of the process.
class Files {
public:
    Files() {
        char folder[] = "/tmp/StreamBench.XXXXXX";
        folder_ = mkdtemp(folder);
        std::mt19937_64 random(1);
        std::string text;
        while (text.size() < TEXT_SIZE) {
            text.append(20 + random() % 122, static_cast<char>('a' + random() % 26));
            text += '\n';
        }
        std::ofstream(lines = folder_ + "/lines") << text;
        std::ofstream out(numbers = folder_ + "/numbers");
        for (unsigned long i = 0; i < NUMBERS; ++i)
            out << (random() >> (random() % 64)) << '\n';
        output = folder_ + "/output";
    }
    ~Files() {
        for (std::string const& path : {lines, numbers, output})
            unlink(path.c_str());
        rmdir(folder_.c_str());
    }

    static Files const& Get() {
        static Files const files;
        return files;
    }

    std::string lines, numbers, output;

private:
    std::string folder_;
};

void Bytes(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<long>(state.iterations() * TEXT_SIZE));
}

void Items(benchmark::State& state) {
    state.SetItemsProcessed(static_cast<long>(state.iterations() * NUMBERS));
}

void LinesOurs(benchmark::State& state) {
    unsigned long const block = static_cast<unsigned long>(state.range(0));
    for (auto _ : state) {
        Io::File file(Files::Get().lines.c_str(), O_RDONLY, Io::EOL_LF, block);
        String line;
        unsigned long sum = 0;
        while (file.ReadLine(line))
            sum += line.Size();
        benchmark::DoNotOptimize(sum);
    }
    Bytes(state);
}

void LinesStream(benchmark::State& state) {
    for (auto _ : state) {
        std::ifstream file(Files::Get().lines);
        std::string line;
        unsigned long sum = 0;
        while (std::getline(file, line))
            sum += line.size();
        benchmark::DoNotOptimize(sum);
    }
    Bytes(state);
}

void LinesFgets(benchmark::State& state) {
    for (auto _ : state) {
        FILE* const file = fopen(Files::Get().lines.c_str(), "r");
        char line[256];
        unsigned long sum = 0;
        while (fgets(line, sizeof(line), file) != nullptr)
            sum += strlen(line);
        benchmark::DoNotOptimize(sum);
        fclose(file);
    }
    Bytes(state);
}

void LinesGetline(benchmark::State& state) {
    for (auto _ : state) {
        FILE* const file = fopen(Files::Get().lines.c_str(), "r");
        char* line = nullptr;
        size_t capacity = 0;
        unsigned long sum = 0;
        for (ssize_t size; (size = getline(&line, &capacity, file)) >= 0;)
            sum += static_cast<unsigned long>(size);
        benchmark::DoNotOptimize(sum);
        free(line);
        fclose(file);
    }
    Bytes(state);
}

BENCHMARK(LinesOurs)->Name("Stream.Lines/4K/ours")->Arg(SMALL);
BENCHMARK(LinesFgets)->Name("Stream.Lines/4K/fgets")->Arg(SMALL);
BENCHMARK(LinesGetline)->Name("Stream.Lines/4K/getline")->Arg(SMALL);
BENCHMARK(LinesOurs)->Name("Stream.Lines/64K/ours")->Arg(LARGE);
BENCHMARK(LinesStream)->Name("Stream.Lines/64K/ifstream")->Arg(LARGE);

void ReadNumbersOurs(benchmark::State& state) {
    for (auto _ : state) {
        Io::File file(Files::Get().numbers.c_str(), O_RDONLY);
        unsigned long sum = 0;
        for (unsigned long i = 0, value = 0; i < NUMBERS; ++i, sum += value)
            file >> value;
        benchmark::DoNotOptimize(sum);
    }
    Items(state);
}

void ReadNumbersStream(benchmark::State& state) {
    for (auto _ : state) {
        std::ifstream file(Files::Get().numbers);
        unsigned long sum = 0;
        for (unsigned long i = 0, value = 0; i < NUMBERS; ++i, sum += value)
            file >> value;
        benchmark::DoNotOptimize(sum);
    }
    Items(state);
}

void ReadNumbersFscanf(benchmark::State& state) {
    for (auto _ : state) {
        FILE* const file = fopen(Files::Get().numbers.c_str(), "r");
        unsigned long sum = 0;
        for (unsigned long i = 0, value = 0; i < NUMBERS && fscanf(file, "%lu", &value) == 1; ++i)
            sum += value;
        benchmark::DoNotOptimize(sum);
        fclose(file);
    }
    Items(state);
}

BENCHMARK(ReadNumbersOurs)->Name("Stream.ReadNumbers/decimal/ours");
BENCHMARK(ReadNumbersStream)->Name("Stream.ReadNumbers/decimal/ifstream");
BENCHMARK(ReadNumbersFscanf)->Name("Stream.ReadNumbers/decimal/fscanf");

// Numbers of mixed length.
unsigned long Number(unsigned long i) { return (i * 0x9E3779B97F4A7C15UL) >> (i % 64); }

void WriteNumbersOurs(benchmark::State& state) {
    for (auto _ : state) {
        Io::File file(Files::Get().output.c_str(), O_WRONLY | O_CREAT | O_TRUNC);
        for (unsigned long i = 0; i < NUMBERS; ++i)
            file << Number(i) << Io::Endl;
        benchmark::DoNotOptimize(file.Close());
    }
    Items(state);
}

void WriteNumbersStream(benchmark::State& state) {
    for (auto _ : state) {
        std::ofstream file(Files::Get().output);
        for (unsigned long i = 0; i < NUMBERS; ++i)
            file << Number(i) << '\n';
    }
    Items(state);
}

void WriteNumbersFprintf(benchmark::State& state) {
    for (auto _ : state) {
        FILE* const file = fopen(Files::Get().output.c_str(), "w");
        for (unsigned long i = 0; i < NUMBERS; ++i)
            fprintf(file, "%lu\n", Number(i));
        fclose(file);
    }
    Items(state);
}

BENCHMARK(WriteNumbersOurs)->Name("Stream.WriteNumbers/decimal/ours");
BENCHMARK(WriteNumbersStream)->Name("Stream.WriteNumbers/decimal/ofstream");
BENCHMARK(WriteNumbersFprintf)->Name("Stream.WriteNumbers/decimal/fprintf");

void CharsOurs(benchmark::State& state) {
    for (auto _ : state) {
        Io::File file(Files::Get().lines.c_str(), O_RDONLY);
        long sum = 0;
        for (int c; (c = file.GetChar()) != Io::IStreamBuffer::CHAR_END;)
            sum += c;
        benchmark::DoNotOptimize(sum);
    }
    Bytes(state);
}

void CharsStream(benchmark::State& state) {
    for (auto _ : state) {
        std::ifstream file(Files::Get().lines);
        long sum = 0;
        for (int c; (c = file.get()) != EOF;)
            sum += c;
        benchmark::DoNotOptimize(sum);
    }
    Bytes(state);
}

template<int (*Get)(FILE*)>
void CharsStdio(benchmark::State& state) {
    for (auto _ : state) {
        FILE* const file = fopen(Files::Get().lines.c_str(), "r");
        long sum = 0;
        for (int c; (c = Get(file)) != EOF;)
            sum += c;
        benchmark::DoNotOptimize(sum);
        fclose(file);
    }
    Bytes(state);
}

BENCHMARK(CharsOurs)->Name("Stream.Chars/each/ours");
BENCHMARK(CharsStream)->Name("Stream.Chars/each/ifstream");
BENCHMARK(CharsStdio<&fgetc>)->Name("Stream.Chars/each/fgetc");

void CopyOurs(benchmark::State& state) {
    unsigned long const block = static_cast<unsigned long>(state.range(0));
    for (auto _ : state) {
        Io::File in(Files::Get().lines.c_str(), O_RDONLY, Io::EOL_LF, block);
        Io::File out(Files::Get().output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, Io::EOL_LF, block);
        benchmark::DoNotOptimize(out.Copy(in));
    }
    Bytes(state);
}

// What no copy through memory can beat at this size of block.
void CopyBareLoop(benchmark::State& state) {
    std::string block(static_cast<unsigned long>(state.range(0)), '\0');
    for (auto _ : state) {
        int const in = open(Files::Get().lines.c_str(), O_RDONLY);
        int const out = open(Files::Get().output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        for (ssize_t size; (size = read(in, block.data(), block.size())) > 0;)
            benchmark::DoNotOptimize(write(out, block.data(), static_cast<size_t>(size)));
        close(out);
        close(in);
    }
    Bytes(state);
}

void CopyStream(benchmark::State& state) {
    for (auto _ : state) {
        std::ifstream in(Files::Get().lines);
        std::ofstream(Files::Get().output) << in.rdbuf();
    }
    Bytes(state);
}

BENCHMARK(CopyOurs)->Name("Stream.Copy/4K/ours")->Arg(SMALL);
BENCHMARK(CopyBareLoop)->Name("Stream.Copy/4K/loop")->Arg(SMALL);
BENCHMARK(CopyStream)->Name("Stream.Copy/4K/fstream")->Arg(SMALL);
BENCHMARK(CopyOurs)->Name("Stream.Copy/64K/ours")->Arg(LARGE);
BENCHMARK(CopyBareLoop)->Name("Stream.Copy/64K/loop")->Arg(LARGE);

} // namespace
