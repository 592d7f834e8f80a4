/* Where a C program begins that is linked without a start-up file. */
int main(void);
void exit(int status);

void Start(void);
void Start(void) {
    exit(main());
}
