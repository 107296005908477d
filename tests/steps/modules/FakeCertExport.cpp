// A stand-in for the certificate exporter module: writes a small text file
// naming its arguments, and fails for the index 99.
#include <cstdio>

extern "C" int SaveCertPemFileFromCertIndex(int certIndex, const char* targetPath,
                                            const char* timeText) {
    if (certIndex == 99) {
        return 0;
    }
    std::FILE* file = std::fopen(targetPath, "wb");
    if (file == nullptr) {
        return 0;
    }
    std::fprintf(file, "index=%d time=%s\n", certIndex, timeText);
    std::fclose(file);
    return 1;
}
