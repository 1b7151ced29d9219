// A program that does nothing: StartBench compares one that links the library with one that doesn't.

int main() {
    return 0;
}
