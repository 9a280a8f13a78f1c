# Module of modobjs: a constructor that returns a fresh object on every call.


def point(x, y):
    return {"x": x, "y": y, "label": "(%d, %d)" % (x, y)}
