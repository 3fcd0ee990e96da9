// startup_program.cpp - the empty program that bench/startup starts, with and without the library.
int main() { return 0; }
