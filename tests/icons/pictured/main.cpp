/// Only its icon counts.
int main()
{
    return 0;
}
