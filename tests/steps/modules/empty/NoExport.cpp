// A module without the exporter function.
extern "C" int SomethingElse() {
    return 1;
}
