# A report appended line by line: s += line.
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 750


def main():
    s = ""
    for i in range(n):
        s += f"line {i}: item{i % 97} count {i * 7 % 1000} total {i * 31}\n"
    print(len(s))
    print(s[len(s) - 40:])


main()
