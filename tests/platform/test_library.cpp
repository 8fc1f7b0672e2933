extern "C" __attribute__((visibility("default"))) int Answer() {
    return 42;
}
