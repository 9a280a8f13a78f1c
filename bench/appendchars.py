# Appending one-character pieces: a text built by s = s + "x".
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 5000


def main():
    s = ""
    for _ in range(n):
        s = s + "x"
    print(len(s))
    print(s[:10])


main()
