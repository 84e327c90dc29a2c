// The launcher, made of the sources that the tests link, whose main has another name.

int launcher_main(int argc, char** argv);

int main(int argc, char** argv) {
    return launcher_main(argc, argv);
}
